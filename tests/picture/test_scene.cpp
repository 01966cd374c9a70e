// Walls, sensor lines and turtles as drawn, and the order of the rules that come with drawing a turtle.
#include "picture/field_fixture.h"

#include "draw/primitives.h"
#include "game/battle.h"
#include "game/firing.h"

using namespace picture;

namespace {

const rgb BLACK{0, 0, 0};

class Scene : public FieldPicture {
protected:
    void SetUp() override {
        FieldPicture::SetUp();
        const float dark[] = {0.0F, 0.0F, 0.0F, 0.0F};
        glMaterialfv(GL_FRONT, GL_EMISSION, dark);
    }

    static shot body(int i, double dir) {
        clear(0, 0, 0);
        draw_turtle_body(ttl[i], 0, 0, dir, 0, 0);
        return read_window();
    }

    // Non-black pixels in the rectangle of field points, right and upper ends excluded.
    static int inked(const shot& s, int left, int bottom, int right, int top) {
        int n = 0;
        for (int y = bottom; y < top; ++y)
            for (int x = left; x < right; ++x) n += s.on_field(x, y) == BLACK ? 0 : 1;
        return n;
    }
};

} // namespace

// --- walls ---

TEST_F(Scene, wall_is_a_slab_from_one_in_front_to_two_behind) {
    setup_wall(0, -100, 50, 100, 50, 0, 1);
    draw_walls();
    const box b = ink(read_window(), BLACK, 0);
    // From above: y from 50 - 2 to 50 + 1, and pointed ends one unit long; a point may miss its pixel's centre.
    EXPECT_EQ(b.bottom, 256 + 48);
    EXPECT_EQ(b.top, 256 + 50);
    EXPECT_NEAR(b.left, 256 - 101, 1);
    EXPECT_NEAR(b.right, 256 + 100, 1);
}

TEST_F(Scene, both_ways_of_drawing_walls_cap_fronts_and_no_backs) {
    for (const int plainly : {0, 1}) {
        use_reference_path = plainly;
        nwall = 0;
        setup_wall(0, -100, 50, 10, 50, 0, 1);
        setup_wall(WALL_BACKFACE, 10, -50, -100, -50, 0, -1);
        const std::vector<vertex> v = flat(vertices_of(draw_walls));
        // The six corners of the top of the first wall.
        const point_t corners[] = {{-101, 50}, {-100, 51}, {10, 51}, {11, 50}, {10, 48}, {-100, 48}};
        // With the normal (0, 1) the points lie at (x1 - 1, y1) and (x2 + 1, y2), beyond the ends.
        for (const point_t& c : corners) EXPECT_NE(find_vertex(v, c.x, c.y, 15), nullptr) << c.x << ' ' << c.y;
        // The rear edge of the second, which has none, would lie at y = -50 + 2.
        EXPECT_EQ(find_vertex(v, 10, -48, 15), nullptr);
        EXPECT_EQ(find_vertex(v, -100, -48, 15), nullptr);

        // The same turned by 90 degrees: with the normal (1, 0), (x1, y1) is the end in the north.
        nwall = 0;
        setup_wall(0, 70, 40, 70, -20, 1, 0);
        const std::vector<vertex> upright = flat(vertices_of(draw_walls));
        for (const point_t& c : {point_t{70, 41}, {71, 40}, {71, -20}, {70, -21}, {68, -20}, {68, 40}})
            EXPECT_NE(find_vertex(upright, c.x, c.y, 15), nullptr) << c.x << ' ' << c.y;
    }
}

TEST_F(Scene, face_of_a_wall_stands_one_unit_in_front_of_its_line_top_or_none) {
    modes.bird_view_mode = 1; // straight from above the faces are not drawn
    for (const int plainly : {0, 1}) {
        use_reference_path = plainly;
        nwall = 0;
        setup_wall(0, 100, 50, -100, 50, 0, -1);
        setup_wall(WALL_BACKFACE, 80, -50, -80, -50, 0, -1);
        // Tilted by 90 degrees, so that the faces are seen from above: (x, y, z) appears at (x, z, -y).
        const std::vector<vertex> v = flat(vertices_of([] {
            glPushMatrix();
            glRotated(-90, 1, 0, 0);
            draw_walls();
            glPopMatrix();
        }));
        for (const double x : {100.0, -100.0})
            for (const double z : {0.0, 15.0}) EXPECT_NE(find_vertex(v, x, z, -49), nullptr) << plainly << ' ' << x;
        for (const double x : {80.0, -80.0})
            for (const double z : {0.0, 15.0}) EXPECT_NE(find_vertex(v, x, z, 51), nullptr) << plainly << ' ' << x;
    }
}

TEST_F(Scene, walls_beyond_the_count_are_not_drawn) {
    setup_wall(0, -100, 50, 100, 50, 0, 1);
    setup_wall(0, -100, -50, 100, -50, 0, 1);
    --nwall; // as after a reset of the walls: old records stay behind
    for (const int plainly : {0, 1}) {
        use_reference_path = plainly;
        const std::vector<vertex> v = flat(vertices_of(draw_walls));
        EXPECT_NE(find_vertex(v, -100, 51, 15), nullptr);
        EXPECT_EQ(find_vertex(v, -100, -49, 15), nullptr);
    }
}

TEST_F(Scene, wall_material_is_set_on_both_faces) {
    draw_walls();
    EXPECT_EQ(front_material(GL_DIFFUSE), (std::vector<float>{0.5F, 0.5F, 0.3F, 1.0F}));
    EXPECT_EQ(front_material(GL_AMBIENT), (std::vector<float>{0.45F, 0.45F, 0.27F, 1.0F}));
    float back[4];
    glGetMaterialfv(GL_BACK, GL_DIFFUSE, back);
    EXPECT_EQ(back[2], 0.3F);
    expect_tidy_state();
}

// --- sensor lines ---

TEST_F(Scene, sensor_lines_show_once) {
    put_turtle(0, -99.5, 20.5).finder_target = 1;
    put_turtle(1, 99.5, 20.5);
    put_turtle(2, 99.5, -40.5);
    ttl[0].pos[0] = {-99.5, 20.5};
    modes.battle_mode = 1;
    draw_beam(take_turn(0));
    shot s = read_window();
    // Emission (1, 0.4, 0.4) and, facing the light, 1.2 times the same: (1, 0.88, 0.88).
    EXPECT_LE(difference(s.on_field(0, 20), {255, 224, 224}), 2);
    EXPECT_EQ(ttl[0].finder_target, -1);
    EXPECT_EQ(front_material(GL_EMISSION), std::vector<float>(4, 0.0F));

    clear(0, 0, 0);
    ttl[0].pos[0] = {-99.5, -40.5};
    ttl[0].radar_target = 2;
    draw_beam(take_turn(0));
    s = read_window();
    EXPECT_LE(difference(s.on_field(0, -41), {224, 224, 255}), 2);
    EXPECT_EQ(ttl[0].radar_target, -1);

    clear(0, 0, 0);
    draw_beam(take_turn(0));
    EXPECT_EQ(ink(read_window(), BLACK, 0).right, -1);
}

TEST_F(Scene, sensor_lines_run_between_the_centres_five_units_up) {
    put_turtle(0, -90, 20).finder_target = 1;
    ttl[0].radar_target = 2;
    put_turtle(1, 80, 30);
    put_turtle(2, 70, -40);
    glLineWidth(4.0F);
    modes.battle_mode = 1;
    const std::vector<piece> lines = vertices_of([] { draw_beam(take_turn(0)); });
    float width = 0;
    glGetFloatv(GL_LINE_WIDTH, &width);
    EXPECT_EQ(width, 1.0F);
    ASSERT_EQ(lines.size(), 2U);
    for (const piece& p : lines) {
        ASSERT_EQ(p.vertices.size(), 2U);
        EXPECT_TRUE(is_at(p.vertices[0], -90, 20, 5));
    }
    EXPECT_TRUE(is_at(lines[0].vertices[1], 80, 30, 5));
    EXPECT_TRUE(is_at(lines[1].vertices[1], 70, -40, 5));
}

TEST_F(Scene, sensor_line_waits_for_battle_mode) {
    put_turtle(0, -100, 0).finder_target = 1;
    put_turtle(1, 100, 0);
    draw_turtle(take_turn(0));
    EXPECT_EQ(ttl[0].finder_target, 1);
    modes.battle_mode = 1;
    draw_turtle(take_turn(0));
    EXPECT_EQ(ttl[0].finder_target, -1);
}

// --- bodies ---

TEST_F(Scene, body_has_its_head_ahead_and_its_tail_behind) {
    put_turtle(0, 0, 0);
    // Head 11.5 + 2.5 ahead, tail 8 + 6 behind (a tip), legs 8 + 2 to both sides.
    const box east = ink(body(0, 0), BLACK, 0);
    EXPECT_NEAR(east.right - 255, 14, 1);
    EXPECT_GE(256 - east.left, 11); // beyond this the tail is narrower than a pixel
    EXPECT_LE(256 - east.left, 14);
    EXPECT_NEAR(east.top - 255, 10, 1);
    EXPECT_NEAR(256 - east.bottom, 10, 1);
    // The head is thicker than the tail's tip.
    const shot s = body(0, 90);
    EXPECT_GT(inked(s, -5, 11, 5, 14), inked(s, -5, -14, 5, -11));
    EXPECT_GT(inked(s, -3, 12, 3, 13), 2);
}

// The top of a sphere is one of its vertices and shows where the sphere is.
TEST_F(Scene, solids_stand_where_the_gait_puts_them) {
    put_turtle(0, 0, 0);
    for (const int plainly : {0, 1}) {
        use_reference_path = plainly;
        constexpr double LEG = 0.5, HEAD = -0.25;
        const auto turned = [](double dir) {
            return flat(vertices_of([dir] { draw_turtle_body(ttl[0], 40, -30, dir, LEG, HEAD); }));
        };
        const std::vector<vertex> east = turned(0);
        // All of it 5 up; heads have a radius of 2.5, legs of 2 and stand 2 lower, the shell is half of 10 high.
        EXPECT_NE(find_vertex(east, 40 + 11.5, -30, 5 + HEAD + 2.5), nullptr);
        EXPECT_NE(find_vertex(east, 40, -30, 5 + 5), nullptr);
        for (const point_t& leg : {point_t{LEG - 5, 8}, {5 - LEG, 8}, {-5 - LEG, -8}, {LEG + 5, -8}})
            EXPECT_NE(find_vertex(east, 40 + leg.x, -30 + leg.y, 5 - 2 + 2), nullptr) << leg.x << ' ' << leg.y;
        EXPECT_NE(find_vertex(east, 40 - 8 - 6, -30, 5), nullptr); // the tip of the tail
        EXPECT_NE(find_vertex(east, 40 - 8, -30, 5 + 1), nullptr); // and its root, 1 in radius
        // Around the waist of the shell, 10 by 7, a vertex every 30 degrees.
        for (const double degrees : {0.0, 30.0, 90.0, 180.0, 240.0})
            EXPECT_NE(find_vertex(east, 40 + 10 * std::cos(degrees * M_PI / 180),
                                  -30 + 7 * std::sin(degrees * M_PI / 180), 5),
                      nullptr)
                << degrees;
        // The next ring below its top, a twelfth of the half-turn down.
        EXPECT_NE(find_vertex(east, 40 + 10 * std::sin(M_PI / 12), -30, 5 + 5 * std::cos(M_PI / 12)), nullptr);
        // Around those of head and legs every 45 degrees, and their rings are eighths of the half-turn apart.
        const double diagonal = std::sqrt(0.5), ring = M_PI / 8;
        EXPECT_NE(find_vertex(east, 40 + 11.5 + 2.5 * std::sin(ring), -30, 5 + HEAD + 2.5 * std::cos(ring)), nullptr);
        EXPECT_NE(find_vertex(east, 40 + LEG - 5 + 2 * std::sin(ring), -30 + 8, 3 + 2 * std::cos(ring)), nullptr);
        EXPECT_NE(find_vertex(east, 40 + 11.5 + 2.5, -30, 5 + HEAD), nullptr);
        EXPECT_NE(find_vertex(east, 40 + 11.5 + 2.5 * diagonal, -30 + 2.5 * diagonal, 5 + HEAD), nullptr);
        EXPECT_NE(find_vertex(east, 40 + LEG - 5 + 2 * diagonal, -30 + 8 + 2 * diagonal, 3), nullptr);
        // Turned north, (dx, dy) becomes (-dy, dx).
        const std::vector<vertex> north = turned(90);
        EXPECT_NE(find_vertex(north, 40, -30 + 11.5, 5 + HEAD + 2.5), nullptr);
        EXPECT_NE(find_vertex(north, 40 - 8, -30 + LEG - 5, 5), nullptr);
    }
}

TEST_F(Scene, gait_follows_the_clock_and_neighbours_are_out_of_step) {
    for (const int i : {0, 1, 7}) {
        for (const int clock : {0, 10, 1000}) {
            put_turtle(i, 0, 0).pos[1] = {90, -70}; // where it came from does not matter
            signals.elapsed_time = static_cast<uint64_t>(clock);
            const std::vector<vertex> v = flat(vertices_of([i] { draw_turtle(take_turn(i)); }));
            const double leg = std::sin(0.3 * i + clock / 7.0), head = std::sin(0.3 * i + clock / 28.0);
            EXPECT_NE(find_vertex(v, leg - 5, 8, 5), nullptr) << i << ' ' << clock;
            EXPECT_NE(find_vertex(v, 11.5, 0, 7.5 + head), nullptr) << i << ' ' << clock;
        }
    }
}

TEST_F(Scene, culled_and_listed_solids_look_like_plain_ones) {
    put_turtle(0, 0, 0).team = 2;
    use_reference_path = true;
    const shot plain = body(0, 33);
    use_reference_path = false;
    EXPECT_LE(differing_pixels(plain, body(0, 33), 2), 2);
    expect_tidy_state();
}

TEST_F(Scene, drawing_again_makes_no_more_lists) {
    const auto lists_in_use = [] {
        int count = 0;
        for (unsigned name = 1; name < 2000; ++name) count += glIsList(name);
        return count;
    };
    modes.disp_name = 1;
    put_turtle(0, 0, 0);
    turtle_name(0, "Ann");
    draw_turtle(take_turn(0));
    const int before = lists_in_use();
    for (int k = 0; k < 5; ++k) draw_turtle(take_turn(0));
    EXPECT_GT(before, 0);
    EXPECT_EQ(lists_in_use(), before);
}

TEST_F(Scene, body_colour_is_the_team_colour_however_near_death) {
    put_turtle(0, 0, 0).team = 3;
    ttl[0].dying_count = 5;
    set_ttl_color(ttl[0]);
    EXPECT_EQ(front_material(GL_DIFFUSE), (std::vector<float>{0.1F, 0.1F, 1.0F, 1.0F}));
    const std::vector<float> ambient = front_material(GL_AMBIENT);
    EXPECT_NEAR(ambient[0], 0.06, 1e-6);
    EXPECT_NEAR(ambient[2], 0.6, 1e-6);
    EXPECT_EQ(ambient[3], 1.0F);
}

TEST_F(Scene, stones_and_doughnuts_are_icons_and_nothing_else) {
    put_object(0, TTL_STONE, 0, 0).n_coin = 3;
    put_object(1, TTL_DOUGHNUT, 0, 0);
    const std::vector<vertex> stone = flat(vertices_of([] { draw_turtle_body(ttl[0], 0, 0, 0, 0, 0); }));
    const std::vector<vertex> doughnut = flat(vertices_of([] { draw_turtle_body(ttl[1], 0, 0, 0, 0, 0); }));
    ASSERT_FALSE(stone.empty());
    ASSERT_FALSE(doughnut.empty());
    for (const vertex& v : stone) EXPECT_NEAR(v.z, 3, VERTEX_TOLERANCE);
    for (const vertex& v : doughnut) EXPECT_NEAR(v.z, 2, VERTEX_TOLERANCE);
}

TEST_F(Scene, turtle_that_carries_coins_stands_on_one) {
    put_turtle(0, 0, 0);
    ncoin = 4; // rank 4 of 4: 1.0 + 4 / 5 * 1.5 = 2.2 high
    const auto draw = [] { draw_turtle_body(ttl[0], 0, 0, 0, 0, 0); };
    EXPECT_EQ(find_vertex(flat(vertices_of(draw)), -10, -10, 2.2), nullptr);
    ttl[0].n_coin = 1;
    EXPECT_NE(find_vertex(flat(vertices_of(draw)), -10, -10, 2.2), nullptr);
}

// --- labels ---

TEST_F(Scene, score_stands_above_and_name_below) {
    modes.disp_score = modes.disp_name = 1;
    turtle_name(0, "");
    put_turtle(0, 0, 0).score = 111;
    turtle_name(0, "AB");
    draw_turtle(take_turn(0));
    const shot s = read_window();
    // Texts start at x = -12; the score's baseline is y = 10, the name's y = -22, capitals are 10 high.
    EXPECT_GT(inked(s, -12, 15, 20, 21), 5);
    EXPECT_GT(inked(s, -12, -22, 12, -12), 10);
    EXPECT_EQ(inked(s, -12, 24, 60, 60), 0);
    EXPECT_EQ(inked(s, -12, -60, 60, -26), 0);
}

TEST_F(Scene, labels_are_lit_strokes_sixteen_units_up) {
    modes.disp_score = modes.disp_name = 1;
    put_turtle(0, 50, -20).score = -7;
    turtle_name(0, "Ann");
    const auto strokes_of = [](const std::function<void()>& draw) {
        std::vector<vertex> all;
        for (const piece& p : vertices_of(draw))
            if (p.kind != GL_POLYGON_TOKEN) all.insert(all.end(), p.vertices.begin(), p.vertices.end());
        return all;
    };
    const std::vector<vertex> drawn = strokes_of([] { draw_turtle(take_turn(0)); });
    const std::vector<vertex> expected = strokes_of([] {
        drawString(nullptr, "-7", 50 - 12, -20 + 10, 16);
        drawString(nullptr, "Ann", 50 - 12, -20 - 22, 16);
    });
    ASSERT_EQ(drawn.size(), expected.size());
    for (size_t k = 0; k < drawn.size(); ++k) {
        ASSERT_TRUE(is_at(drawn[k], expected[k].x, expected[k].y, 16)) << k;
        // Emission 0.7 and the body's colour (0.2, 1, 0.1) lit from above, 1.12 times itself.
        ASSERT_NEAR(drawn[k].red, 0.924, 1e-5);
        ASSERT_NEAR(drawn[k].green, 1.0, 1e-5);
        ASSERT_NEAR(drawn[k].blue, 0.812, 1e-5);
    }
}

TEST_F(Scene, objects_have_no_labels) {
    modes.disp_score = modes.disp_name = 1;
    for (const uint32_t kind : {TTL_STONE, TTL_DOUGHNUT}) {
        clear(0, 0, 0);
        put_object(0, kind, 0, 0);
        bounded_copy(ttl[0].name, "AB", TEXT_BYTES);
        draw_turtle(take_turn(0));
        const shot s = read_window();
        EXPECT_EQ(inked(s, -60, 10, 60, 60), 0) << kind;
        EXPECT_EQ(inked(s, -60, -60, 60, -10), 0) << kind;
    }
}

TEST_F(Scene, score_leaves_opaque_emission_and_name_a_transparent_one) {
    put_turtle(0, 0, 0);
    modes.disp_score = 1;
    draw_turtle(take_turn(0));
    EXPECT_EQ(front_material(GL_EMISSION), (std::vector<float>{0, 0, 0, 1}));
    modes.disp_name = 1;
    draw_turtle(take_turn(0));
    EXPECT_EQ(front_material(GL_EMISSION), (std::vector<float>{0, 0, 0, 0}));
}

// --- beams, explosions, dying ---

TEST_F(Scene, beam_is_a_ball_where_it_was_and_flies_without_its_turtle) {
    turtle_t& t = put_turtle(0, 0, 0);
    t.flags = TTL_FIRING;
    t.beam_x = 50;
    t.beam_y = 0;
    t.beam_dir = 90;
    draw_turtle(take_turn(0));
    const shot s = read_window();
    const box b = ink(s, BLACK, 0);
    EXPECT_NEAR(b.left, 256 + 45, 1);
    EXPECT_NEAR(b.right, 256 + 54, 1);
    EXPECT_NEAR(b.bottom, 256 - 5, 1);
    EXPECT_NEAR(b.top, 256 + 4, 1);
    // Facing the light: (1, 0.9, 0.5) and a fifth of (1, 0.8, 0).
    EXPECT_LE(difference(s.on_field(50, 0), {255, 255, 128}), 12);
    EXPECT_NEAR(t.beam_y, 2, NEAR);
}

TEST_F(Scene, beam_that_hits_a_wall_explodes_there_and_fades_one_step_short) {
    turtle_t& t = put_turtle(0, -200, -200);
    t.flags |= TTL_FIRING;
    t.beam_x = 100;
    t.beam_y = 0;
    t.beam_dir = 0;
    put_wall_to_the_right(105);
    draw_turtle(take_turn(0)); // 102 is 3 from the wall
    shot s = read_window();
    EXPECT_GT(s.on_field(115, 0).r, 50); // 13 from the impact, 15 from the beam's last place
    EXPECT_EQ(t.fire_wait, 24);          // the explosion has begun in the same frame
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    clear(0, 0, 0);
    draw_turtle(take_turn(0));
    s = read_window();
    EXPECT_EQ(s.on_field(116, 0), BLACK);
    EXPECT_GT(s.on_field(113, 0).r, 20);
    EXPECT_EQ(t.beam_x, 100);
    EXPECT_EQ(t.fire_wait, 23);
}

TEST_F(Scene, explosion_fades) {
    turtle_t& t = put_turtle(0, -200, -200);
    t.beam_x = 50;
    t.beam_y = 0;
    int brightest = 256;
    for (const int wait : {25, 15, 5}) {
        clear(0, 0, 0);
        t.fire_wait = wait;
        draw_turtle(take_turn(0));
        const int red = read_window().on_field(50, 0).r;
        EXPECT_LT(red, brightest);
        EXPECT_GT(red, 0);
        brightest = red;
        EXPECT_EQ(t.fire_wait, wait - 1);
    }
}

TEST_F(Scene, dying_turtle_glows_red_fifteen_frames_and_is_gone_after_fifty) {
    put_turtle(0, 0, 0);
    start_to_kill(0);
    for (int frame = 1; frame <= 50; ++frame) {
        clear(0, 0, 0);
        draw_turtle(take_turn(0));
        const rgb c = read_window().on_field(0, 13); // beside the body, within the glow
        if (frame <= 15) {
            EXPECT_GT(c.r, 60) << frame;
            EXPECT_LT(c.g, c.r / 2) << frame;
        } else {
            EXPECT_EQ(c, BLACK) << frame;
        }
        EXPECT_FALSE(glIsEnabled(GL_BLEND));
    }
    EXPECT_FALSE(has_any(ttl[0].flags, TTL_ALIVE));
    clear(0, 0, 0);
    draw_turtle(take_turn(0));
    EXPECT_EQ(ink(read_window(), BLACK, 0).right, -1);
}

// The top of each sphere shows its height, its alpha the transparency.
TEST_F(Scene, beams_glows_and_explosions_are_spheres_three_units_up) {
    turtle_t& t = put_turtle(0, 0, 0);
    t.flags |= TTL_FIRING;
    t.beam_x = 100;
    t.beam_y = 50;
    const auto draw = [] { draw_turtle(take_turn(0)); };
    const std::vector<vertex> flying = flat(vertices_of(draw));
    EXPECT_NE(find_vertex(flying, 100, 50, 3 + 5), nullptr);
    // A vertex every 22.5 degrees, and rings a sixteenth of the half-turn apart.
    const double eighth = M_PI / 8, ring = M_PI / 16;
    EXPECT_NE(find_vertex(flying, 100 + 5 * std::sin(ring), 50, 3 + 5 * std::cos(ring)), nullptr);
    EXPECT_NE(find_vertex(flying, 100 + 5 * std::cos(eighth), 50 + 5 * std::sin(eighth), 3), nullptr);

    t = put_turtle(0, 0, 0);
    t.beam_x = 100;
    t.beam_y = 50;
    t.fire_wait = 10;
    const std::vector<vertex> fading = flat(vertices_of(draw));
    const vertex* const burst = find_vertex(fading, 100, 50, 3 + 15);
    ASSERT_NE(burst, nullptr);
    EXPECT_NE(find_vertex(fading, 100 + 15 * std::cos(eighth), 50 + 15 * std::sin(eighth), 3), nullptr);
    EXPECT_NE(find_vertex(fading, 100 + 15 * std::sin(ring), 50, 3 + 15 * std::cos(ring)), nullptr);
    EXPECT_NEAR(burst->alpha, 10 / 25.0, 1e-5);
    EXPECT_NEAR(burst->green, 0.9 + 0.2 * 0.8, 0.07); // cut at 1
    EXPECT_NEAR(burst->blue, 0.5, 1e-5);

    put_turtle(0, -60, 20).dying_count = 36;
    const std::vector<vertex> dying = flat(vertices_of(draw));
    const vertex* const glow = find_vertex(dying, -60, 20, 3 + 15);
    ASSERT_NE(glow, nullptr);
    EXPECT_NEAR(glow->alpha, 0.8, 1e-5);
    EXPECT_NEAR(glow->green, 0.2 * 1.2, 1e-5);
    EXPECT_NEAR(glow->blue, 0.0, 1e-5);

    put_turtle(0, -60, 20).dying_count = 35;
    const std::vector<vertex> dark = flat(vertices_of(draw));
    EXPECT_EQ(find_vertex(dark, -60, 20, 3 + 15), nullptr);
}

TEST_F(Scene, glow_shows_the_field_through_even_around_carried_coins) {
    for (const int carried : {0, 3}) {
        clear(0, 0, 1);
        put_turtle(0, 0, 0).dying_count = 50;
        ttl[0].n_coin = carried;
        draw_turtle(take_turn(0));
        // Beside the body and the coin: the sphere's shaded red, and a fifth of the blue behind it.
        EXPECT_NEAR(read_window().on_field(0, 13).b, 51, 2) << carried;
    }
}

TEST_F(Scene, drawing_any_turtle_resets_gl_state) {
    modes.disp_name = modes.disp_score = modes.battle_mode = 1;
    put_turtle(1, 50, 50);
    for (const int dying : {0, 1, 36, 50}) {
        for (const int wait : {0, 25}) {
            turtle_t& t = put_turtle(0, 0, 0);
            t.dying_count = dying;
            t.fire_wait = wait;
            t.n_coin = wait;
            t.finder_target = t.radar_target = 1;
            t.flags |= TTL_FIRING;
            draw_turtle(take_turn(0));
            expect_tidy_state();
        }
    }
}

TEST_F(Scene, zombie_looks_like_the_living) {
    put_turtle(0, 0, 0);
    const shot living = body(0, 10);
    make_zombie(0);
    EXPECT_EQ(differing_pixels(living, body(0, 10), 0), 0);
}

TEST_F(Scene, robot_walks_after_it_is_drawn_and_others_do_not) {
    put_turtle(0, 0, 0, 0, -1);
    put_turtle(1, 100, 100);
    draw_turtle(take_turn(0));
    draw_turtle(take_turn(1));
    EXPECT_NEAR(ttl[0].pos[0].x, 0.15, NEAR);
    EXPECT_EQ(ttl[1].pos[0].x, 100);
}

TEST_F(Scene, robot_step_is_the_last_of_the_slot_even_in_its_last_frame) {
    const int drawn = draws_of(1, [] {
        put_turtle(0, 0, 0, 0, -1).dying_count = 1;
        draw_turtle(take_turn(0));
    });
    EXPECT_EQ(drawn, 1);
    EXPECT_FALSE(has_any(ttl[0].flags, TTL_ALIVE));
}
