// The web viewer's server: an accepting thread and one thread per connection, HTTP/1.1 with GET and HEAD.
// Nothing here takes frame_rendering_mutex; the field is read by httpd/content only.
// A connection waits for its requests 60 seconds in all, and a response that is not read ends it after WATCH_LIMIT.
#pragma once

#include "field/clients.h"
#include "httpd/content.h"

#include <atomic>
#include <chrono>

inline constexpr int REQUEST_MAX = 2048;        // bytes taken by one receive
inline constexpr int BODY_PIECE_BYTES = 1024;   // bytes handed to one send call
inline constexpr int TARGET_SCAN_MAX = 1001;    // characters of the request line scanned for the target
inline constexpr int HTTP_CONNECTION_MAX = 256; // connection threads
// Descriptors reserved for other uses than browsers: programs, a capture, the graphics driver, and the connection that
// is accepted only to be refused.
inline constexpr int DESCRIPTORS_KEPT = MAX_CLIENT + 16;
inline constexpr int BROWSER_NICE = 5;  // of all threads for browsers, above that of the field
inline constexpr int HTTP_BACKLOG = 10; // connections that may wait to be accepted
inline constexpr std::chrono::seconds IDLE_BUDGET{60};
// Longest wait of one send without progress, where the kernel does not end the connection before: see watch_peer.
inline constexpr std::chrono::seconds SEND_PATIENCE{60};

// get_method
inline constexpr int METHOD_GET = 0;
inline constexpr int METHOD_HEAD = 1;
inline constexpr int METHOD_UNKNOWN = -1;

extern int httpsock; // the listening socket, -1 before it is open; written once by the accepting thread
// Incremented by the accepting thread, decremented by each connection thread when its socket is closed.
extern std::atomic<int> http_connections;

/// Starts the accepting thread on `port` (16 bits) and returns at once. Without a thread: one line on standard error.
void start_httpd(int port);

/// Opens `port` (16 bits, 0 takes a free one). @return the listening socket, or -1 after a line on standard error
[[nodiscard]] int open_viewer_socket(int port);

/// Starts the accepting thread on a socket that is already listening. @return whether it runs; otherwise one line on
/// standard error
bool serve_viewers(int sock);

/// The accepting thread. @param arg  malloc'ed int with the port, released here. @return null
/// In private mode the first peer other than 127.0.0.1 ends the thread; the socket stays open.
void* httpd(void* arg);

/// A connection's thread. @param arg  malloc'ed int with the socket, released and closed here. @return null
void* handle_connection(void* arg);

/// Serves requests until one asks to close, the peer closes, or the waits between requests add up to `idle_budget`.
/// The socket stays open.
void serve_requests(int sock, std::chrono::nanoseconds idle_budget);

/// Receives once and answers the one request that begins there; bytes beyond one packet are the next request.
/// @return positive: keep the connection; 0 or less: close it
int handle_request(int sock);

/// Sends status, headers and, for METHOD_GET, the body; null content is answered with the 404 page.
/// @return `keep_alive`, or -1 when a send failed; the content stays the caller's
int send_response(int sock, int method, const http_content_t* content, int keep_alive);

/// Sends the terminated text with one call; with `more_follows` the kernel may delay it (MSG_MORE).
/// @return the send's result; a negative one is reported on standard error
int send_data(int sock, const char* text, bool more_follows = false);

/// METHOD_* of a request line, by its first letters in either case; METHOD_UNKNOWN when shorter than 3 characters.
[[nodiscard]] int get_method(const char* line);

/// The media type of a MIME_* number.
[[nodiscard]] const char* get_mimetype(int32_t kind);

/// The body for a request line: the target is the text between its first and second blank, without one leading "/". A
/// line without a blank has an empty target; without a second blank the target ends with the line.
/// @return null only when memory runs out
[[nodiscard]] http_content_t* match_request(const char* line);
