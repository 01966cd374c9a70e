// Bodies of the web viewer's responses. Runs on the HTTP threads, without a lock: only the snapshot functions below
// touch the shared tables; everything else works on copies. Texts grow when extreme numbers need more room, so that a
// list is never cut in the middle.
#include "httpd/content.h"

#include "base/angles.h"
#include "base/log.h"
#include "field/kinds.h"
#include "field/state.h"
#include "field/turtles.h"
#include "field/walls.h"
#include "images.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cfloat>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <strings.h>

std::array<char*, JSCRIPT_MAX> msg_jscript_srcp;
int32_t n_jscript = 0;
constexpr std::array<const char*, JSCRIPT_DEFAULTS> msg_template_jscript_srcp = {
    "http://localhost:2281/kelmora/script/kelmora.js",
    "http://localhost:2281/kelmora/script/three.min.js",
};

#ifdef __SANITIZE_THREAD__
extern "C" void AnnotateIgnoreReadsBegin(const char* file, int line);
extern "C" void AnnotateIgnoreReadsEnd(const char* file, int line);
#endif

namespace {

constexpr double EYE_HEIGHT = 10.0;       // of a turtle's camera, field units
constexpr double SIGHT_LENGTH = 100.0;    // from a turtle's eye to its target, field units
constexpr double OVERVIEW_HEIGHT = 450.0; // of the overview's eye above the centre, field units
constexpr int SEGMENT_MAX = TARGET_BYTES / 2 + 1;

// Initial sizes of the bodies; ordinary numbers fit, extreme ones make the text grow.
constexpr size_t TURTLE_BYTES = 384;
constexpr size_t WALL_BYTES = 128;
constexpr size_t COIN_BYTES = 64;
constexpr size_t CAMERA_BYTES = 512;

// Maximum lengths of numbers.
constexpr size_t INTEGER_MAX = 20;                           // of 64 bits, with sign
constexpr size_t FIXED_MAX = 1 + DBL_MAX_10_EXP + 1 + 1 + 6; // of a double: sign, whole digits, point, six more
constexpr size_t LABELS_MAX = 256;                           // all other characters of a turtle but its name
// A turtle has five numbers with a point, a wall or a camera six.
constexpr size_t ENTRY_MAX = LABELS_MAX + TEXT_BYTES + 9 * INTEGER_MAX + 6 * FIXED_MAX;

struct field_counts_t {
    int turtles, walls, coins; // each within its table
};

// While one of these exists, the thread sanitizer ignores this thread's reads. A suppression file would not do: it
// matches names on the reader's stack, and the stack of a thread that has ended is not known.
struct unguarded_reads_t {
#ifdef __SANITIZE_THREAD__
    unguarded_reads_t() { AnnotateIgnoreReadsBegin(__FILE__, __LINE__); }
    ~unguarded_reads_t() { AnnotateIgnoreReadsEnd(__FILE__, __LINE__); }
#else
    unguarded_reads_t() {} // not defaulted: an unused variable would be reported
#endif
    unguarded_reads_t(const unguarded_reads_t&) = delete;
    unguarded_reads_t& operator=(const unguarded_reads_t&) = delete;
};

// The four readers of the shared tables. They race with the window and client threads on purpose; no other function
// touches a table, so that the thread sanitizer checks everything else.
[[gnu::noinline]] field_counts_t snapshot_counts() {
    const unguarded_reads_t on_purpose;
    return {std::clamp(ntmax, 0, TTL_MAX), std::clamp(nwall, 0, WALL_MAX), std::clamp(ncoin, 0, COIN_MAX)};
}

[[gnu::noinline]] void snapshot_turtle(int i, turtle_t& copy) {
    const unguarded_reads_t on_purpose;
    copy = ttl[i];
}

[[gnu::noinline]] void snapshot_wall(int i, wall_t& copy) {
    const unguarded_reads_t on_purpose;
    copy = walls[i];
}

[[gnu::noinline]] void snapshot_coin(int i, coin_t& copy) {
    const unguarded_reads_t on_purpose;
    copy = coins[i];
}

// A list under construction. Its text is kept longer than what has been written by the longest entry, because an append
// of each piece would cost more than the digits.
struct json_t {
    std::string& text;
    size_t length = 0; // written so far
};

// Makes room for one more entry.
void begin_entry(json_t& json) { json.text.resize(json.length + ENTRY_MAX); }

void add(json_t& json, std::string_view text) {
    assert(text.size() <= json.text.size() - json.length);
    json.length += text.copy(json.text.data() + json.length, text.size());
}

// A literal, whose length the compiler knows.
template <size_t SIZE> void add(json_t& json, const char (&text)[SIZE]) { add(json, std::string_view(text, SIZE - 1)); }

// Digits as printf's "%d" and "%u" write them.
void add_integer(json_t& json, int64_t number) {
    char* const digits = json.text.data() + json.length;
    json.length += static_cast<size_t>(std::to_chars(digits, digits + INTEGER_MAX, number).ptr - digits);
}

// Digits as printf's "%lf" writes them, exactly rounded, in a fifth of its time.
void add_fixed(json_t& json, double number) {
    char* const digits = json.text.data() + json.length;
    char* const end = std::to_chars(digits, digits + FIXED_MAX, number, std::chars_format::fixed, 6).ptr;
    json.length += static_cast<size_t>(end - digits);
}

template <size_t SIZE> void add_integer(json_t& json, const char (&before)[SIZE], int64_t number) {
    add(json, before);
    add_integer(json, number);
}

template <size_t SIZE> void add_fixed(json_t& json, const char (&before)[SIZE], double number) {
    add(json, before);
    add_fixed(json, number);
}

template <size_t SIZE> void add_flag(json_t& json, const char (&before)[SIZE], bool is_set) {
    add(json, before);
    if (is_set) {
        add(json, "true");
    } else {
        add(json, "false");
    }
}

http_content_t* new_content(int32_t kind, const unsigned char* data, size_t length, bool owned) {
    auto* content = static_cast<http_content_t*>(malloc(sizeof(http_content_t)));
    if (content != nullptr) *content = {kind, data, static_cast<int32_t>(length), owned ? 1 : 0};
    return content;
}

char* copy_of(std::string_view text) {
    char* const copy = static_cast<char*>(malloc(text.size() + 1));
    if (copy != nullptr) copy[text.copy(copy, text.size())] = '\0';
    return copy;
}

// Builds a text by `write`, with `size` bytes reserved at first. The only place where the library's exceptions are
// caught. @return a terminated copy from malloc; null when memory runs out
template <class Writer> char* build_text(size_t size, size_t& length, Writer write) {
    try {
        std::string text;
        text.reserve(size);
        write(text);
        length = text.size();
        return length <= INT32_MAX ? copy_of(text) : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    } catch (const std::length_error&) {
        return nullptr;
    }
}

template <class Writer> http_content_t* build_json(size_t size, Writer write) {
    size_t length = 0;
    char* const data = build_text(size, length, [&](std::string& text) {
        json_t json{text};
        begin_entry(json);
        write(json);
        text.resize(json.length);
    });
    if (data == nullptr) return nullptr;
    http_content_t* const content = new_content(MIME_JSON, reinterpret_cast<const unsigned char*>(data), length, true);
    if (content == nullptr) free(data);
    return content;
}

// The name is written unescaped: a double quote in it makes the list invalid JSON, which viewers must cope with.
void add_turtle(json_t& json, int i, const turtle_t& t, uint32_t now) {
    add_integer(json, "\"tid\":", i);
    add_integer(json, ",\"time\":", now);
    // The torn copy of a slot that is being reused may have both bits: it counts as a doughnut.
    const uint32_t kind_bits = has_any(t.flags, TTL_DOUGHNUT) ? t.flags & ~TTL_STONE : t.flags;
    add_integer(json, ",\"type\":", kind_of(kind_bits).json_type);
    add(json, ",\"name\":\"");
    add(json, std::string_view(t.name, static_cast<size_t>(bounded_length(t.name, TEXT_BYTES))));
    add_integer(json, "\",\"team\":", t.team);
    add_fixed(json, ",\"x\":", t.pos[0].x);
    add_fixed(json, ",\"y\":", t.pos[0].y);
    add_fixed(json, ",\"head\":", fmod(t.dir, 360.0));
    add_integer(json, ",\"ttl\":", t.dying_count);
    add_fixed(json, ",\"bx\":", t.beam_x);
    add_fixed(json, ",\"by\":", t.beam_y);
    add_integer(json, ",\"bttf\":", t.fire_wait);
    add_integer(json, ",\"score\":", t.score);
    add_integer(json, ",\"ncoin\":", t.n_coin);
    add_flag(json, ",\"alive\":", has_any(t.flags, TTL_ALIVE));
    add_flag(json, ",\"firing\":", has_any(t.flags, TTL_FIRING));
    add_flag(json, ",\"got_hit\":", has_any(t.event, EVENT_HIT));
    add_flag(json, ",\"collide\":", has_any(t.event, EVENTS_BLOCKED));
    add_flag(json, ",\"detected\":", has_any(t.event, EVENT_FOUND | EVENT_SEEN));
    add_flag(json, ",\"got_msg\":", has_any(t.event, EVENT_MESSAGE));
}

constexpr char PAGE_HEAD[] =
    "<html><head><title>Kelmora</title><meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\"/>\r\n"
    "<style>\r\n"
    "canvas { width: 100%; height: 100%; background-color: #002040; } \r\n"
    "a:link { color: #90ffff; text-decoration: none; } \r\n"
    "a:visited { color: #90ffff; text-decoration: none; } \r\n"
    "a:hover { color: #90ffff; text-decoration: underline; } \r\n"
    "</style>\r\n";

// The uneven blanks around the ids and the unclosed score29 are part of the page.
constexpr char PAGE_BODY[] =
    "</head><body onload=\"webGLStart();\" style=\"background-color: #002040; margin:0; \">\r\n"
    "<div id= \"score0\"></div><div id= \"score1\"></div><div id =\"score2\"></div><div id= \"score3\"></div>\r\n"
    "<div id= \"score4\"></div><div id= \"score5\"></div><div id =\"score6\"></div><div id= \"score7\"></div>\r\n"
    "<div id= \"score8\"></div><div id= \"score9\"></div><div id=\"score10\"></div><div id=\"score11\"></div>\r\n"
    "<div id=\"score12\"></div><div id=\"score13\"></div><div id=\"score14\"></div><div id=\"score15\"></div>\r\n"
    "<div id=\"score16\"></div><div id=\"score17\"></div><div id=\"score18\"></div><div id=\"score19\"></div>\r\n"
    "<div id=\"score20\"></div><div id=\"score21\"></div><div id=\"score22\"></div><div id=\"score23\"></div>\r\n"
    "<div id=\"score24\"></div><div id=\"score25\"></div><div id=\"score26\"></div><div id=\"score27\"></div>\r\n"
    "<div id=\"score28\"></div><div id=\"score29\"><br/><div id=\"result\"></div></body></html>\n";
constexpr std::string_view TAG_BEFORE = "<script type=\"text/javascript\" src=\"";
constexpr std::string_view TAG_AFTER = "\"></script>\r\n";
static_assert(sizeof(PAGE_HEAD) - 1 + sizeof(PAGE_BODY) - 1 <= HTML_MAX, "a page without scripts must fit");

struct icon_t {
    const unsigned char* data;
    size_t length;
};

} // namespace

void set_jscript_src(const char* text) {
    if (text == nullptr || text[0] == '\0') return;
    for (int i = 0; i < n_jscript; ++i) free(msg_jscript_srcp[i]);
    msg_jscript_srcp.fill(nullptr);
    n_jscript = 0;

    constexpr const char* SEPARATORS = " ;\"";
    const char* const end = text + strnlen(text, JSCRIPT_TEXT_BYTES);
    const char* at = text;
    while (n_jscript < JSCRIPT_MAX) {
        while (at < end && strchr(SEPARATORS, *at) != nullptr) ++at;
        const char* const piece = at;
        while (at < end && strchr(SEPARATORS, *at) == nullptr) ++at;
        if (at == piece) break;
        char* const script = strndup(piece, static_cast<size_t>(at - piece));
        if (script == nullptr) break;
        msg_jscript_srcp[n_jscript++] = script;
    }
    for (int i = 0; i < n_jscript; ++i) log_line_always("script: %s", msg_jscript_srcp[i]);
}

http_content_t* generate_content(const char* target) {
    char copy[TARGET_BYTES + 1];
    const size_t length = strnlen(target, TARGET_BYTES);
    memcpy(copy, target, length);
    copy[length] = '\0';

    const char* segments[SEGMENT_MAX];
    int count = 0;
    char* rest = nullptr;
    for (char* word = strtok_r(copy, "/", &rest); word != nullptr && count < SEGMENT_MAX;
         word = strtok_r(nullptr, "/", &rest))
        segments[count++] = word;

    if (count > 0) {
        const char* last = segments[count - 1];
        if (strcasecmp(last, "turtle") == 0) return generate_json_for_turtle();
        if (strcasecmp(last, "wall") == 0) return generate_json_for_wall();
        if (strcasecmp(last, "coin") == 0) return generate_json_for_coin();
        if (strcasecmp(last, "camera") == 0) return generate_json_for_camera(find_turtle_by_name(segments[0]));
        if (count >= 2 && strcasecmp(segments[count - 2], "img") == 0) return generate_png(atol(last));
    }

    char* page = generate_html();
    if (page == nullptr) return nullptr;
    http_content_t* content = new_content(MIME_HTML, reinterpret_cast<const unsigned char*>(page), strlen(page), true);
    if (content == nullptr) free(page);
    return content;
}

int find_turtle_by_name(const char* word) {
    if (word == nullptr || word[0] == '\0') return -1;
    const int count = snapshot_counts().turtles;
    turtle_t t;
    if ((word[0] == '$' || word[0] == '~') && is_dec_number(word + 1) != 0) {
        const long index = atol(word + 1); // saturates, so that a long number does not wrap to a small one
        if (index >= count) return -1;
        snapshot_turtle(static_cast<int>(index), t);
        return has_any(t.flags, TTL_ALIVE) ? static_cast<int>(index) : -1;
    }
    const size_t length = strlen(word);
    for (int i = 0; i < count; ++i) {
        snapshot_turtle(i, t);
        if (!has_any(t.flags, TTL_ALIVE)) continue;
        if (static_cast<size_t>(bounded_length(t.name, TEXT_BYTES)) != length) continue;
        if (strncasecmp(t.name, word, length) == 0) return i;
    }
    return -1;
}

int is_dec_number(const char* text) {
    if (text == nullptr || text[0] == '\0') return 0;
    for (const char* at = text; *at != '\0'; ++at)
        if (*at < '0' || *at > '9') return 0;
    return 1;
}

char* generate_html() {
    size_t length = 0;
    return build_text(HTML_MAX, length, [](std::string& page) {
        page += PAGE_HEAD;
        const int count = n_jscript > 0 ? n_jscript : JSCRIPT_DEFAULTS;
        for (int i = 0; i < count; ++i) {
            const std::string_view script = n_jscript > 0 ? msg_jscript_srcp[i] : msg_template_jscript_srcp[i];
            if (page.size() + TAG_BEFORE.size() + script.size() + TAG_AFTER.size() > HTML_MAX) break;
            page += TAG_BEFORE;
            page += script;
            page += TAG_AFTER;
        }
        if (page.size() + sizeof(PAGE_BODY) - 1 <= HTML_MAX) page += PAGE_BODY;
    });
}

http_content_t* generate_json_for_turtle() {
    const int count = snapshot_counts().turtles;
    const auto now = static_cast<uint32_t>(signals.elapsed_time.load());
    return build_json(TTL_MAX * TURTLE_BYTES, [&](json_t& json) {
        add(json, "[");
        for (int i = 0; i < count; ++i) {
            turtle_t t;
            snapshot_turtle(i, t);
            begin_entry(json);
            if (i > 0) add(json, ", ");
            add(json, "{");
            add_turtle(json, i, t, now);
            add(json, "}");
        }
        begin_entry(json);
        add(json, "]");
    });
}

http_content_t* generate_json_for_wall() {
    const int count = snapshot_counts().walls;
    return build_json(WALL_MAX * WALL_BYTES, [&](json_t& json) {
        add(json, "[");
        bool first = true;
        for (int i = 0; i < count; ++i) {
            wall_t w;
            snapshot_wall(i, w);
            if (has_any(w.attr, WALL_BACKFACE)) continue;
            begin_entry(json);
            if (!first) add(json, ",");
            add_fixed(json, "{\"x1\":", w.x1);
            add_fixed(json, ",\"y1\":", w.y1);
            add_fixed(json, ",\"x2\":", w.x2);
            add_fixed(json, ",\"y2\":", w.y2);
            add_fixed(json, ",\"nx\":", w.nx);
            add_fixed(json, ",\"ny\":", w.ny);
            add(json, "}");
            first = false;
        }
        begin_entry(json);
        add(json, "]");
    });
}

http_content_t* generate_json_for_coin() {
    const int count = snapshot_counts().coins;
    return build_json(COIN_MAX * COIN_BYTES, [&](json_t& json) {
        add(json, "[");
        bool first = true;
        for (int i = 0; i < count; ++i) {
            coin_t c;
            snapshot_coin(i, c);
            if (!has_any(c.flags, ON_FIELD)) continue;
            begin_entry(json);
            if (!first) add(json, ",");
            add_fixed(json, "{\"x\":", c.x);
            add_fixed(json, ",\"y\":", c.y);
            add_integer(json, ",\"ord\":", c.ord);
            add(json, "}");
            first = false;
        }
        begin_entry(json);
        add(json, "]");
    });
}

http_content_t* generate_json_for_camera(int turtle) {
    double x0 = 0.0, y0 = 0.0, z0 = OVERVIEW_HEIGHT;
    double x1 = 0.0, y1 = 0.0, z1 = 0.0;
    if (turtle >= 0 && turtle < snapshot_counts().turtles) {
        turtle_t t;
        snapshot_turtle(turtle, t);
        const double heading = fmod(t.dir, 360.0);
        x0 = t.pos[0].x;
        y0 = t.pos[0].y;
        z0 = EYE_HEIGHT;
        x1 = x0 + SIGHT_LENGTH * cos(PI * heading / 180.0);
        y1 = y0 + SIGHT_LENGTH * sin(PI * heading / 180.0);
        z1 = EYE_HEIGHT;
    }
    return build_json(CAMERA_BYTES, [&](json_t& json) {
        begin_entry(json);
        add_fixed(json, "{\"x0\":", x0);
        add_fixed(json, ",\"y0\":", y0);
        add_fixed(json, ",\"z0\":", z0);
        add_fixed(json, ",\"x1\":", x1);
        add_fixed(json, ",\"y1\":", y1);
        add_fixed(json, ",\"z1\":", z1);
        add(json, "}");
    });
}

http_content_t* generate_png(long n) {
    static const std::array<icon_t, 8> icons = {{
        {png_img0, sizeof png_img0},
        {png_img1, sizeof png_img1},
        {png_img2, sizeof png_img2},
        {png_img3, sizeof png_img3},
        {png_img4, sizeof png_img4},
        {png_img5, sizeof png_img5},
        {png_img6, sizeof png_img6},
        {png_img7, sizeof png_img7},
    }};
    const icon_t& icon = icons[n >= 0 && n < 7 ? static_cast<size_t>(n) : 7];
    return new_content(MIME_PNG, icon.data, icon.length, false);
}

void free_container(http_content_t* content) {
    if (content == nullptr) return;
    if (content->owns_data != 0) free(const_cast<unsigned char*>(content->data));
    free(content);
}
