// What the window asks of GLUT: menu entries, redraws, timers, titles and sizes. This program replaces the toolkit's
// functions with recorders, so nothing here waits for an event loop.
#include "picture/field_fixture.h"

#include "display/loop.h"
#include "display/window.h"
#include "game/furnish.h"

#include <cerrno>
#include <sys/utsname.h>
#include <utility>

using namespace picture;

namespace {

struct record_t {
    int redraws;
    int timers;
    std::vector<std::string> titles;
    std::vector<std::pair<int, int>> sizes;
    void (*menu_callback)(int);
    std::vector<std::pair<std::string, int>> entries;
    std::vector<int> menu_buttons;
};
record_t asked;

const char* fake_host = nullptr; // what gethostname returns; null = the real name
int host_status = 0;

class Window : public FieldPicture {
protected:
    void SetUp() override {
        FieldPicture::SetUp();
        asked = {};
    }
    void TearDown() override {
        fake_host = nullptr;
        host_status = 0;
        FieldPicture::TearDown();
    }

    /// Milliseconds after which the present field's tick asks for the next one.
    static unsigned next_tick() { return static_cast<unsigned>(on_tick() / 1'000'000); }
};

} // namespace

void glutPostRedisplay() { ++asked.redraws; }
void glutTimerFunc(unsigned, void (*)(int), int) { ++asked.timers; }
void glutSetWindowTitle(const char* title) { asked.titles.emplace_back(title); }
void glutReshapeWindow(int width, int height) { asked.sizes.emplace_back(width, height); }
int glutCreateMenu(void (*callback)(int)) {
    asked.menu_callback = callback;
    return 1;
}
void glutAddMenuEntry(const char* label, int value) { asked.entries.emplace_back(label, value); }
void glutAttachMenu(int button) { asked.menu_buttons.push_back(button); }

int gethostname(char* name, size_t size) noexcept {
    utsname system;
    if (host_status != 0 || size == 0 || uname(&system) != 0) {
        errno = EPERM;
        return -1;
    }
    strncpy(name, fake_host != nullptr ? fake_host : system.nodename, size);
    return 0;
}

TEST_F(Window, title_names_the_host) {
    fake_host = "meadow";
    write_window_title();
    EXPECT_STREQ(window_title, "Kelmora @ meadow");
    fake_host = "";
    write_window_title();
    EXPECT_STREQ(window_title, "Kelmora @ ");
    host_status = -1;
    write_window_title();
    EXPECT_STREQ(window_title, "Kelmora @ ???");
}

TEST_F(Window, host_name_longer_than_the_title_is_cut) {
    const std::string longest(300, 'h');
    fake_host = longest.c_str();
    write_window_title();
    const std::string title(window_title, bounded_length(window_title, sizeof window_title));
    EXPECT_LT(title.size(), sizeof window_title);
    EXPECT_EQ(title, "Kelmora @ " + longest.substr(0, title.size() - 10));
    EXPECT_GE(title.size(), 10U + 64U); // the longest name that the system takes is whole
}

TEST_F(Window, drawing_is_prepared_with_a_light_from_above_and_a_canvas_of_512) {
    const unsigned texture_before = bg_textures;
    unsigned char* const buffer_before = bg_tex_buffer;
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    const std::array<float, 4> nothing{};
    glLightfv(GL_LIGHT0, GL_DIFFUSE, nothing.data());
    glLightfv(GL_LIGHT0, GL_POSITION, nothing.data());
    for (const GLenum switch_off : {GL_LIGHTING, GL_LIGHT0, GL_RESCALE_NORMAL}) glDisable(switch_off);
    glViewport(3, 4, 5, 6);

    prepare_drawing();
    std::array<float, 4> found{};
    glGetLightfv(GL_LIGHT0, GL_DIFFUSE, found.data());
    EXPECT_EQ(found, (std::array<float, 4>{1, 1, 1, 1}));
    glGetLightfv(GL_LIGHT0, GL_POSITION, found.data());
    EXPECT_EQ(found, (std::array<float, 4>{0, 0, 256, 0})); // w = 0: a direction
    for (const GLenum switched_on : {GL_LIGHTING, GL_LIGHT0, GL_RESCALE_NORMAL}) EXPECT_TRUE(glIsEnabled(switched_on));
    std::array<int, 4> view{};
    glGetIntegerv(GL_VIEWPORT, view.data());
    EXPECT_EQ(view, (std::array<int, 4>{0, 0, 512, 512}));

    int bound = -1, width = 0, height = 0, magnified = 0, minified = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    EXPECT_EQ(bound, 0);
    EXPECT_NE(bg_textures, texture_before);
    glBindTexture(GL_TEXTURE_2D, bg_textures);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &magnified);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &minified);
    glBindTexture(GL_TEXTURE_2D, 0);
    EXPECT_EQ(width, 512);
    EXPECT_EQ(height, 512);
    EXPECT_EQ(magnified, GL_NEAREST);
    EXPECT_EQ(minified, GL_NEAREST);
    glDeleteTextures(1, &texture_before);
    free(buffer_before);
}

TEST_F(Window, menu_has_nine_entries_on_the_right_button) {
    create_menu();
    const std::vector<std::pair<std::string, int>> expected = {
        {"Clear Field", 1},
        {"Erase Zombie", 2},
        {"Toggle Graphics/Battle Mode", 3},
        {"Toggle Private/Public Mode", 4},
        {"Capture Screen", 5},
        {"- - - - - - - - -", 0},
        {"About Kelmora", 7},
        {"Kill All Turtles", 8},
        {"Exit", 9},
    };
    EXPECT_EQ(asked.entries, expected);
    EXPECT_EQ(asked.menu_callback, menufunc);
    EXPECT_EQ(asked.menu_buttons, std::vector<int>{GLUT_RIGHT_BUTTON});
}

TEST_F(Window, every_menu_pick_asks_for_a_redraw) {
    int picks = 0;
    for (const int value : {0, 1, 2, 3, 4, 5, 6, 7, 8, 10, -1, 2147483647}) {
        menufunc(value);
        EXPECT_EQ(asked.redraws, ++picks) << value;
    }
}

TEST_F(Window, keys_leave_the_redraw_to_the_next_tick) {
    for (int key = 0; key < 256; ++key) {
        if (key != 'Q') keyboardfunc(static_cast<unsigned char>(key), 1, 2); // which would end this program
    }
    EXPECT_EQ(asked.redraws, 0);
    EXPECT_EQ(asked.timers, 0);
}

TEST_F(Window, tick_counts_redraws_and_asks_for_the_next) {
    signals.elapsed_time = 0xffffffff; // the clock has 64 bits
    EXPECT_EQ(next_tick(), 80U);
    EXPECT_EQ(signals.elapsed_time, 0x100000000U);
    EXPECT_EQ(asked.redraws, 1);
    EXPECT_EQ(asked.timers, 0); // GLUT's timers count whole milliseconds of a clock that can be set
    EXPECT_TRUE(asked.titles.empty());
}

TEST_F(Window, tick_draws_its_frame_where_glut_draws_none) {
    // GLUT does not draw in this program's window, nor in one that is covered.
    put_turtle(0, 0, 0).fire_wait = 25;
    client_tab[0].frame_cmd_count = 3;
    const uint64_t before = frames_drawn();
    EXPECT_EQ(tick_and_draw(on_tick), 8'000'000);
    EXPECT_EQ(frames_drawn(), before + 1);
    EXPECT_EQ(ttl[0].fire_wait, 24);              // a step of the game
    EXPECT_EQ(client_tab[0].frame_cmd_count, 0U); // and clients may send pacing commands again
}

TEST_F(Window, field_ticks_every_8_ms_while_anything_can_move_and_every_80_otherwise) {
    EXPECT_EQ(next_tick(), 80U); // nobody there
    put_object(0, TTL_STONE, 0, 0);
    put_object(1, TTL_DOUGHNUT, 50, 0);
    put_turtle(2, 100, 0).flags |= TTL_ZOMBIE;
    EXPECT_EQ(next_tick(), 80U);
    put_turtle(3, 150, 0, 0, -1); // a robot
    EXPECT_EQ(next_tick(), 8U);
    ttl[3].flags |= TTL_ZOMBIE;
    EXPECT_EQ(next_tick(), 80U);
    put_turtle(4, 150, 50);
    EXPECT_EQ(next_tick(), 8U);
    ttl[4].dying_count = 10; // still moves its legs
    EXPECT_EQ(next_tick(), 8U);
    ntmax = 0;
    EXPECT_EQ(next_tick(), 80U);
}

TEST_F(Window, title_follows_the_mode_at_the_tick_after_the_change) {
    snprintf(window_title, sizeof window_title, "Kelmora @ somewhere");
    signals.menuitem_need_to_change = 0;
    keyboardfunc('@', 0, 0);
    EXPECT_EQ(signals.menuitem_need_to_change, 1);
    EXPECT_TRUE(asked.titles.empty());
    next_tick();
    next_tick();
    EXPECT_EQ(asked.titles, std::vector<std::string>{"Public Kelmora @ somewhere"});
    EXPECT_EQ(signals.menuitem_need_to_change, 0);
    menufunc(4);
    next_tick();
    EXPECT_EQ(asked.titles.back(), "Private Kelmora @ somewhere");
    keyboardfunc('!', 0, 0); // a change of battle mode retitles too
    next_tick();
    EXPECT_EQ(asked.titles.size(), 3U);
    EXPECT_EQ(asked.titles.back(), "Private Kelmora @ somewhere");
}

TEST_F(Window, longest_title_is_whole) {
    const std::string longest(sizeof window_title - 1, 'w');
    snprintf(window_title, sizeof window_title, "%s", longest.c_str());
    change_menuitem();
    EXPECT_EQ(asked.titles, std::vector<std::string>{"Private " + longest});
}

TEST_F(Window, any_other_size_is_taken_back) {
    for (const auto& [width, height] : {std::pair{640, 600}, {1, 1}, {512, 512}, {0, -5}}) {
        asked = {};
        reshapefunc(width, height);
        EXPECT_EQ(asked.sizes, (std::vector<std::pair<int, int>>{{512, 512}}));
        EXPECT_EQ(asked.redraws, 1);
    }
}
