#include "draw/scenery.h"

#include "cards/sheet.h"
#include "draw/canvas.h"
#include "draw/card.h"
#include "draw/icons.h"
#include "draw/scene.h"
#include "field/turtles.h"
#include "field/walls.h"

#include <GL/freeglut.h>

#include <algorithm>

std::array<int, COIN_MAX> coin_list;

namespace {

// A coin or a card with its place.
struct piece_t {
    int number; // a coin's rank, a card's index
    int layer;  // a card's, 0 on top; a coin's is its rank again
    double x, y;
};

// Everything that the look of the scenery depends on. Of each table the entries below its count are used.
struct scenery_t {
    int bird;
    double fov, rotation;
    int coin_slots; // the heights of coins depend on it
    int n_wall;     // 0 out of battle mode
    int n_coin, n_card;
    std::array<wall_t, WALL_MAX> walls;
    std::array<piece_t, COIN_MAX> coins;
    std::array<piece_t, CARD_MAX> cards;
};

// NaN compares unequal even to itself, so such scenery is redrawn every frame.
bool is_same_wall(const wall_t& a, const wall_t& b) {
    return a.x1 == b.x1 && a.y1 == b.y1 && a.x2 == b.x2 && a.y2 == b.y2 && a.nx == b.nx && a.ny == b.ny &&
           a.attr == b.attr;
}

bool is_same_piece(const piece_t& a, const piece_t& b) {
    return a.number == b.number && a.layer == b.layer && a.x == b.x && a.y == b.y;
}

bool looks_the_same(const scenery_t& a, const scenery_t& b) {
    return a.bird == b.bird && a.fov == b.fov && a.rotation == b.rotation && a.coin_slots == b.coin_slots &&
           a.n_wall == b.n_wall && a.n_coin == b.n_coin && a.n_card == b.n_card &&
           std::equal(a.walls.begin(), a.walls.begin() + a.n_wall, b.walls.begin(), is_same_wall) &&
           std::equal(a.coins.begin(), a.coins.begin() + a.n_coin, b.coins.begin(), is_same_piece) &&
           std::equal(a.cards.begin(), a.cards.begin() + a.n_card, b.cards.begin(), is_same_piece);
}

scenery_t current_scenery; // as last read from the tables
bool picture_is_kept;      // of current_scenery

// Storage of the cached picture. The colors are drawn into a texture, with their coverage; the depths are copied from
// the window, top row first.
struct store_t {
    unsigned colors, colors_frame;
    unsigned scratch_depth; // depth buffer for drawing the colors
    unsigned depths, depths_frame;
};

store_t picture_store;
enum class store_state_t { unknown, usable, unusable } store_state = store_state_t::unknown;

void forget_errors() {
    constexpr int MOST = 100; // a lost context reports errors for ever
    int k = 0;
    while (k < MOST && glGetError() != GL_NO_ERROR) ++k;
}

// The window's depth format; depths can be copied only between equal formats.
GLenum depth_format() {
    int depth_bits = 0, stencil_bits = 0;
    glGetIntegerv(GL_DEPTH_BITS, &depth_bits);
    glGetIntegerv(GL_STENCIL_BITS, &stencil_bits);
    if (stencil_bits > 0) return GL_DEPTH24_STENCIL8;
    if (depth_bits == 16) return GL_DEPTH_COMPONENT16;
    return depth_bits == 24 ? GL_DEPTH_COMPONENT24 : GL_DEPTH_COMPONENT32;
}

unsigned make_depth_buffer(GLenum format) {
    unsigned name = 0;
    glGenRenderbuffers(1, &name);
    glBindRenderbuffer(GL_RENDERBUFFER, name);
    glRenderbufferStorage(GL_RENDERBUFFER, format, WINDOW_SIDE, WINDOW_SIDE);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    return name;
}

void copy_depth_from_window() {
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, picture_store.depths_frame);
    glBlitFramebuffer(0, 0, WINDOW_SIDE, WINDOW_SIDE, 0, WINDOW_SIDE, WINDOW_SIDE, 0, GL_DEPTH_BUFFER_BIT, GL_NEAREST);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
}

void copy_depth_to_window() {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, picture_store.depths_frame);
    glBlitFramebuffer(0, WINDOW_SIDE, WINDOW_SIDE, 0, 0, 0, WINDOW_SIDE, WINDOW_SIDE, GL_DEPTH_BUFFER_BIT, GL_NEAREST);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
}

// Makes the storage and checks whether depths can be copied there; a driver that refuses reports it here.
bool make_store() {
    if (glutExtensionSupported("GL_ARB_framebuffer_object") == 0) return false;
    if (glutExtensionSupported("GL_ARB_clip_control") == 0) return false;
    forget_errors();
    glGenTextures(1, &picture_store.colors);
    glBindTexture(GL_TEXTURE_2D, picture_store.colors);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, WINDOW_SIDE, WINDOW_SIDE, 0, GL_BGRA, GL_UNSIGNED_BYTE, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glBindTexture(GL_TEXTURE_2D, 0);
    picture_store.scratch_depth = make_depth_buffer(depth_format());
    picture_store.depths = make_depth_buffer(depth_format());

    glGenFramebuffers(1, &picture_store.colors_frame);
    glBindFramebuffer(GL_FRAMEBUFFER, picture_store.colors_frame);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, picture_store.colors, 0);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, picture_store.scratch_depth);
    const bool whole = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    glGenFramebuffers(1, &picture_store.depths_frame);
    glBindFramebuffer(GL_FRAMEBUFFER, picture_store.depths_frame);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, picture_store.depths);
    glDrawBuffer(GL_NONE);
    glReadBuffer(GL_NONE);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    copy_depth_from_window();
    copy_depth_to_window();
    return whole && glGetError() == GL_NO_ERROR;
}

bool store_is_usable() {
    if (store_state == store_state_t::unknown)
        store_state = make_store() ? store_state_t::usable : store_state_t::unusable;
    return store_state == store_state_t::usable;
}

// Copying a picture over the whole window costs about as much as drawing this many pixels.
bool is_worth_keeping() {
    constexpr int COIN_AREA = 19 * 19; // pixels, as seen from above
    return current_scenery.n_card * CARD_WIDTH * CARD_HEIGHT + current_scenery.n_coin * COIN_AREA >
           WINDOW_SIDE * WINDOW_SIDE;
}

// Coins in the order of placement: the newest lies on top.
void see_coins() {
    coin_list.fill(-1);
    for (int k = 0; k < ncoin; ++k) {
        const coin_t& c = coins[k];
        if (has_any(c.flags, ON_FIELD) && c.ord >= 0 && c.ord < COIN_MAX) coin_list[c.ord] = k;
    }
    current_scenery.n_coin = 0;
    for (int rank = 0; rank < ncoin; ++rank) {
        const int k = coin_list[rank];
        if (k >= 0) current_scenery.coins[current_scenery.n_coin++] = {rank, rank, coins[k].x, coins[k].y};
    }
}

// The card placed last lies highest.
void see_cards() {
    current_scenery.n_card = 0;
    for (int k = 0; k < CARD_MAX; ++k) {
        const int c = card_list[k];
        if (c < 0 || c >= CARD_MAX || !has_any(cards[c].flags, ON_FIELD)) continue;
        current_scenery.cards[current_scenery.n_card++] = {c, k, cards[c].x, cards[c].y};
    }
}

void draw_coins() {
    if (!use_reference_path) begin_coin_batch();
    for (int k = 0; k < current_scenery.n_coin; ++k) {
        const piece_t& coin = current_scenery.coins[k];
        if (use_reference_path) {
            drawIcon_Coin(coin.number, coin.x, coin.y);
        } else {
            coin_in_batch(coin.number, coin.x, coin.y);
        }
    }
    if (!use_reference_path) end_coin_batch();
}

void draw_cards() {
    for (int k = 0; k < current_scenery.n_card; ++k) {
        const piece_t& card = current_scenery.cards[k];
        draw_Card(card.x, card.y, static_cast<double>(CARD_MAX - card.layer) / CARD_MAX, card.number);
    }
}

void draw_pieces() {
    if (modes.battle_mode) draw_walls();
    draw_coins();
    draw_cards();
}

// The same, upside down. A window's rows are counted from its top, those of a texture from its bottom, and this decides
// which way a pixel goes whose middle falls on an edge or between two texels. Turned over, the texture rounds as the
// window does.
void draw_pieces_upside_down() {
    glClipControl(GL_UPPER_LEFT, GL_NEGATIVE_ONE_TO_ONE);
    draw_pieces();
    glClipControl(GL_LOWER_LEFT, GL_NEGATIVE_ONE_TO_ONE);
}

// A texture of the window's size, upper row first, on the window, with identity matrices.
void draw_texture_over_window(unsigned texture) {
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glBegin(GL_QUADS);
    glNormal3d(0.0, 0.0, 1.0);
    glTexCoord2d(0.0, 1.0);
    glVertex2d(-1.0, -1.0);
    glTexCoord2d(1.0, 1.0);
    glVertex2d(1.0, -1.0);
    glTexCoord2d(1.0, 0.0);
    glVertex2d(1.0, 1.0);
    glTexCoord2d(0.0, 0.0);
    glVertex2d(-1.0, 1.0);
    glEnd();
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_TEXTURE_2D);
}

} // namespace

bool restore_scenery_depth() {
    if (!picture_is_kept || use_reference_path) return false;
    copy_depth_to_window();
    return true;
}

bool scenery_is_unchanged() {
    static scenery_t before;
    before = current_scenery;
    current_scenery.bird = modes.bird_view_mode;
    current_scenery.fov = view_fov_angle;
    current_scenery.rotation = view_rotation_angle;
    current_scenery.coin_slots = ncoin;
    current_scenery.n_wall = modes.battle_mode ? nwall : 0;
    std::copy_n(walls.begin(), current_scenery.n_wall, current_scenery.walls.begin());
    see_coins();
    see_cards();
    const bool unchanged = looks_the_same(current_scenery, before);
    if (!unchanged) picture_is_kept = false;
    return unchanged;
}

void draw_scenery() {
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    draw_pieces();
}

void cache_scenery() {
    if (use_reference_path || !is_worth_keeping() || !store_is_usable()) return;
    copy_depth_from_window();
    glBindFramebuffer(GL_FRAMEBUFFER, picture_store.colors_frame);
    glPushAttrib(GL_COLOR_BUFFER_BIT);
    glClearColor(0.0F, 0.0F, 0.0F, 0.0F);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    // Over an empty texture, this blending stores each color times its coverage, and the coverage itself.
    glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    draw_pieces_upside_down();
    glPopAttrib();
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    picture_is_kept = true;
}

void draw_cached_scenery() {
    glDisable(GL_DEPTH_TEST);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    draw_texture_over_window(picture_store.colors);
    glDisable(GL_BLEND);
    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glEnable(GL_DEPTH_TEST);
}

void forget_scenery() { picture_is_kept = false; }
