// Bodies of the web viewer's responses: the page, JSON snapshots of the field, one turtle's camera, eight icons.
// Runs on the HTTP threads without frame_rendering_mutex: each record is copied once, by the one function for its
// table, and only the copy is used; counts are limited to the size of their table, names to the size of their field. A
// snapshot may mix two ticks, which viewers tolerate.
#pragma once

#include <array>
#include <cstdint>

// http_content_t::mime_kind; any other number is plain text
inline constexpr int32_t MIME_HTML = 1;
inline constexpr int32_t MIME_PNG = 2;
inline constexpr int32_t MIME_CSS = 3;
inline constexpr int32_t MIME_JSON = 4;

struct http_content_t {
    int32_t mime_kind;         // MIME_*
    const unsigned char* data; // the body
    int32_t length;            // bytes
    int32_t owns_data;         // 1: data was allocated for this response and is freed with it; 0: static
};

inline constexpr int JSCRIPT_MAX = 10;          // scripts that the page can name
inline constexpr int JSCRIPT_TEXT_BYTES = 2048; // bytes of the option's value that are read
inline constexpr int HTML_MAX = 3265;           // characters of the page
inline constexpr int TARGET_BYTES = 1024;       // bytes of a target that are read
inline constexpr int JSCRIPT_DEFAULTS = 2;

// The scripts that the page loads, in order. Written at start-up only, before the server starts.
extern std::array<char*, JSCRIPT_MAX> msg_jscript_srcp;
extern int32_t n_jscript; // 0: the two defaults are used
extern const std::array<const char*, JSCRIPT_DEFAULTS> msg_template_jscript_srcp;

/// Replaces the page's scripts by the pieces of `text`, separated by blanks, ";" and double quotes; at most JSCRIPT_MAX
/// are kept, each logged. Null or empty changes nothing; separators alone restore the defaults.
void set_jscript_src(const char* text);

/// The body for a request target (without its leading "/"): the last segment selects it, the first names a turtle.
/// @return a record for free_container; null only when memory runs out
[[nodiscard]] http_content_t* generate_content(const char* target);

/// "$3" or "~3": slot 3 when it is in use; anything else: the lowest slot in use whose name equals the word, case
/// ignored. @return the index; -1 for none, and for a null or empty word
[[nodiscard]] int find_turtle_by_name(const char* word);

/// @return 1 when the text is non-empty and every character is a decimal digit, else 0
[[nodiscard]] int is_dec_number(const char* text);

/// The page's text, terminated; the caller frees it. A script tag that would pass HTML_MAX ends the tags.
/// @return null when memory runs out
[[nodiscard]] char* generate_html();

/// Every slot ever handed out, in use or not. @return null when memory runs out
[[nodiscard]] http_content_t* generate_json_for_turtle();
/// The walls' front faces. @return null when memory runs out
[[nodiscard]] http_content_t* generate_json_for_wall();
/// The coins on the field. @return null when memory runs out
[[nodiscard]] http_content_t* generate_json_for_coin();
/// Eye and target of turtle `turtle`, or of the overview when that is no slot ever handed out.
/// @return null when memory runs out
[[nodiscard]] http_content_t* generate_json_for_camera(int turtle);

/// Icon 0 to 6; any other number gives icon 7. @return null when memory runs out
[[nodiscard]] http_content_t* generate_png(long n);

/// Releases the body, if it is owned, and the record; null is ignored.
void free_container(http_content_t* content);
