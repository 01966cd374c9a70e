#include "draw/scenery.h"

#include "cards/sheet.h"
#include "draw/canvas.h"
#include "draw/card.h"
#include "draw/icons.h"
#include "draw/scene.h"
#include "draw/view.h"
#include "field/turtles.h"
#include "field/walls.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

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
    std::array<float, 4> background; // GL's clear color, which lies beyond the floor
    int coin_slots;                  // the heights of coins depend on it
    int n_wall;                      // 0 out of battle mode
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
    return a.bird == b.bird && a.fov == b.fov && a.rotation == b.rotation && a.background == b.background &&
           a.coin_slots == b.coin_slots && a.n_wall == b.n_wall && a.n_coin == b.n_coin && a.n_card == b.n_card &&
           std::equal(a.walls.begin(), a.walls.begin() + a.n_wall, b.walls.begin(), is_same_wall) &&
           std::equal(a.coins.begin(), a.coins.begin() + a.n_coin, b.coins.begin(), is_same_piece) &&
           std::equal(a.cards.begin(), a.cards.begin() + a.n_card, b.cards.begin(), is_same_piece);
}

scenery_t current_scenery; // as last read from the tables
bool picture_is_kept;      // of current_scenery

// Storage of the kept picture: copies of the window, top row first.
struct store_t {
    unsigned colors, colors_frame;
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
    forget_errors();
    glGenTextures(1, &picture_store.colors);
    glBindTexture(GL_TEXTURE_2D, picture_store.colors);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, WINDOW_SIDE, WINDOW_SIDE, 0, GL_BGRA, GL_UNSIGNED_BYTE, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glBindTexture(GL_TEXTURE_2D, 0);
    picture_store.depths = make_depth_buffer(depth_format());

    glGenFramebuffers(1, &picture_store.colors_frame);
    glBindFramebuffer(GL_FRAMEBUFFER, picture_store.colors_frame);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, picture_store.colors, 0);
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

// Copying a picture costs less than drawing as many pixels anew, and keeping it once some more.
bool is_worth_keeping() {
    constexpr int COIN_AREA = 19 * 19; // pixels, as seen from above
    return current_scenery.n_card * CARD_WIDTH * CARD_HEIGHT + current_scenery.n_coin * COIN_AREA >
           WINDOW_SIDE * WINDOW_SIDE;
}

std::span<const piece_t> coins_seen() {
    return std::span(current_scenery.coins).first(static_cast<size_t>(current_scenery.n_coin));
}

std::span<const piece_t> cards_seen() {
    return std::span(current_scenery.cards).first(static_cast<size_t>(current_scenery.n_card));
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

template <typename Wanted> void draw_coins_where(Wanted wanted) {
    if (!use_reference_path) begin_coin_batch();
    for (const piece_t& coin : coins_seen()) {
        if (!wanted(coin)) continue;
        if (use_reference_path) {
            drawIcon_Coin(coin.number, coin.x, coin.y);
        } else {
            coin_in_batch(coin.number, coin.x, coin.y);
        }
    }
    if (!use_reference_path) end_coin_batch();
}

double height_of_card(const piece_t& card) { return static_cast<double>(CARD_MAX - card.layer) / CARD_MAX; }

void draw_card(const piece_t& card) { draw_Card(card.x, card.y, height_of_card(card), card.number); }

// A rectangle of the window, in pixels.
struct extent_t {
    double left, bottom, right, top;
};

constexpr double EVERYWHERE = std::numeric_limits<double>::infinity();

// What a box of the field covers of the window, and a little more; all of it where a corner lies behind the eye or
// nowhere.
extent_t extent_of_box(const projection_t& p, double x1, double y1, double x2, double y2, double z1, double z2) {
    constexpr double AROUND = 2.0, HALF = WINDOW_SIDE / 2.0;
    if (current_scenery.bird == 0) {
        return {x1 + HALF - AROUND, y1 + HALF - AROUND, x2 + HALF + AROUND, y2 + HALF + AROUND};
    }
    extent_t e{EVERYWHERE, EVERYWHERE, -EVERYWHERE, -EVERYWHERE};
    for (const double x : {x1, x2}) {
        for (const double y : {y1, y2}) {
            for (const double z : {z1, z2}) {
                const window_point_t at = to_window(p, x, y, z);
                if (!at.is_before_eye || !std::isfinite(at.x) || !std::isfinite(at.y)) {
                    return {-EVERYWHERE, -EVERYWHERE, EVERYWHERE, EVERYWHERE};
                }
                e = {std::min(e.left, at.x - AROUND), std::min(e.bottom, at.y - AROUND),
                     std::max(e.right, at.x + AROUND), std::max(e.top, at.y + AROUND)};
            }
        }
    }
    return e;
}

bool touches(const tiles_t& tiles, const extent_t& e) { return touches_tiles(tiles, e.left, e.bottom, e.right, e.top); }

// The tiles of the window in which tiles of the canvas lie.
tiles_t tiles_in_view(const projection_t& p, const tiles_t& on_canvas) {
    constexpr double HALF = WINDOW_SIDE / 2.0;
    if (current_scenery.bird == 0) return on_canvas;
    static std::array<rectangle_t, RECTANGLES_MAX> rectangles;
    const int count = rectangles_of(on_canvas, rectangles);
    tiles_t tiles{};
    for (const rectangle_t& r : std::span(rectangles).first(static_cast<size_t>(count))) {
        const extent_t e = extent_of_box(p, r.left - HALF, r.bottom - HALF, r.right - HALF, r.top - HALF, 0.0, 0.0);
        mark_tiles(tiles, e.left, e.bottom, e.right, e.top);
    }
    return tiles;
}

bool wall_touches(const projection_t& p, const tiles_t& tiles, const wall_t& w) {
    constexpr double THICKNESS = 2.0, HEIGHT = 15.0;
    return touches(tiles,
                   extent_of_box(p, std::min(w.x1, w.x2) - THICKNESS, std::min(w.y1, w.y2) - THICKNESS,
                                 std::max(w.x1, w.x2) + THICKNESS, std::max(w.y1, w.y2) + THICKNESS, 0.0, HEIGHT));
}

bool coin_touches(const projection_t& p, const tiles_t& tiles, const piece_t& c) {
    constexpr double REACH = 10.0, HEIGHT = 2.5;
    return touches(tiles, extent_of_box(p, c.x - REACH, c.y - REACH, c.x + REACH, c.y + REACH, 0.0, HEIGHT));
}

// What draw_scenery draws, as far as it reaches into the tiles.
void draw_pieces_in(const tiles_t& tiles) {
    const projection_t p = current_projection();
    if (modes.battle_mode) {
        static std::array<bool, WALL_MAX> wanted;
        for (int k = 0; k < current_scenery.n_wall; ++k) wanted[k] = wall_touches(p, tiles, walls[k]);
        draw_some_walls(wanted);
    }
    draw_coins_where([&](const piece_t& c) { return coin_touches(p, tiles, c); });
    glEnable(GL_SCISSOR_TEST);
    for (const piece_t& card : cards_seen()) {
        const double z = height_of_card(card);
        const extent_t e = extent_of_box(p, card.x, card.y, card.x + CARD_WIDTH, card.y + CARD_HEIGHT, z, z);
        const rectangle_t r = tiles_within(tiles, e.left, e.bottom, e.right, e.top);
        if (r.right <= r.left) continue;
        glScissor(r.left, r.bottom, r.right - r.left, r.top - r.bottom);
        draw_card(card);
    }
    glDisable(GL_SCISSOR_TEST);
}

// Depths with which nothing but what lies in the tiles can be drawn: there they are those of an empty floor.
void open_depths(const tiles_t& tiles, double floor_depth) {
    static std::array<rectangle_t, RECTANGLES_MAX> rectangles;
    const int count = rectangles_of(tiles, rectangles);
    glClearDepth(0.0);
    glClear(GL_DEPTH_BUFFER_BIT);
    glClearDepth(1.0);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glOrtho(0.0, WINDOW_SIDE, 0.0, WINDOW_SIDE, 0.0, -1.0); // the height is the depth
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glEnable(GL_DEPTH_TEST); // without the test no depth is written
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
    glDepthFunc(GL_ALWAYS);
    glBegin(GL_QUADS);
    for (const rectangle_t& r : std::span(rectangles).first(static_cast<size_t>(count))) {
        glVertex3d(r.left, r.bottom, floor_depth);
        glVertex3d(r.right, r.bottom, floor_depth);
        glVertex3d(r.right, r.top, floor_depth);
        glVertex3d(r.left, r.top, floor_depth);
    }
    glEnd();
    glDepthFunc(GL_LESS);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
}

// Draws floor and scenery anew where the canvas has changed, and keeps what comes out. The window is scratch paper
// here: from above the canvas is in it already.
void renew_picture(const tiles_t& tiles, double floor_depth) {
    if (current_scenery.bird != 0) glClear(GL_COLOR_BUFFER_BIT);
    open_depths(tiles, floor_depth);
    if (current_scenery.bird != 0) draw_floor();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    draw_pieces_in(tiles);
    copy_from_window(picture_store.colors_frame, tiles);
}

} // namespace

bool scenery_is_unchanged() {
    static scenery_t before;
    before = current_scenery;
    current_scenery.bird = modes.bird_view_mode;
    current_scenery.fov = view_fov_angle;
    current_scenery.rotation = view_rotation_angle;
    glGetFloatv(GL_COLOR_CLEAR_VALUE, current_scenery.background.data());
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
    if (modes.battle_mode) draw_walls();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    draw_coins_where([](const piece_t&) { return true; });
    for (const piece_t& card : cards_seen()) draw_card(card);
}

void keep_scene() {
    if (use_reference_path || !is_worth_keeping() || !store_is_usable()) return;
    tiles_t all;
    mark_all_tiles(all);
    copy_from_window(picture_store.colors_frame, all);
    copy_depth_from_window();
    picture_is_kept = true;
}

bool scene_is_kept() { return picture_is_kept && !use_reference_path; }

bool show_kept_scene(double floor_depth) {
    if (!scene_is_kept() || canvas_is_top_down == 0) return false;
    if (any_tile(painted_tiles)) {
        const tiles_t tiles = tiles_in_view(current_projection(), painted_tiles);
        if (!is_worth_picking_out(tiles)) return false;
        renew_picture(tiles, floor_depth);
    }
    copy_to_window(picture_store.colors_frame);
    copy_depth_to_window();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glEnable(GL_DEPTH_TEST);
    return true;
}

void forget_scenery() { picture_is_kept = false; }
