// The first line of a connection, byte by byte.
#include "net/request_line.h"

#include <gtest/gtest.h>
#include <string>

namespace {

first_line_state state_after(const std::string& bytes) {
    first_line_t line = {};
    for (const char b : bytes) read_first_line(line, b);
    return line.state;
}

bool is_told(first_line_state state) {
    return state == first_line_state::command || state == first_line_state::http_request;
}

} // namespace

TEST(RequestLine, method_target_protocol_and_version_make_a_request) {
    for (const char* line :
         {"GET / HTTP/1.1\r\n", "HEAD /x HTTP/1.0\n", "POST /a;b HTTP/1.1\n", "OPTIONS * HTTP/1.1\r\n",
          "CONNECT localhost:2222 HTTP/1.1\r\n", "DELETE http://a/b HTTP/2\n", "TRACE /  HTTP/1.1 \n",
          "PATCH / HTTP/10\n", "PUT x HTTP/1.1;", "PRI * HTTP/2.0\r\n", "\r\n ;; \nGET / HTTP/1.1\n",
          "G\x01\x80"
          "ET / HTTP/1.1\n"}) {
        EXPECT_EQ(state_after(line), first_line_state::http_request) << line;
    }
}

TEST(RequestLine, anything_else_is_a_command) {
    for (const char* line : {"f 10\n",          "GET\n",        "GET;",          "GET \n",       "GET /\n",
                             "GET / \n",        "GET / HTTP\n", "GET / HTTP/\n", "GET / HTTP/x", "GET / HTTP/1.1 x",
                             "GET / HTTP/1.1x", "GET a b",      "GETS",          "get",          "GE ",
                             "HTTP/1.1",        "GET 5;",       "GET / ;",       "P d\n",        "GET/ "}) {
        EXPECT_EQ(state_after(line), first_line_state::command) << line;
    }
}

TEST(RequestLine, it_is_decided_only_when_nothing_else_is_possible) {
    const std::string request = "OPTIONS /;f%2010;! HTTP/1.1\r\n";
    for (size_t length = 0; length < request.size(); ++length) {
        EXPECT_FALSE(is_told(state_after(request.substr(0, length)))) << length;
    }
    EXPECT_EQ(state_after(request), first_line_state::http_request);
}

TEST(RequestLine, decision_is_final) {
    EXPECT_EQ(state_after("f 10\nGET / HTTP/1.1\n"), first_line_state::command);
    EXPECT_EQ(state_after("GET / HTTP/1.1\nf 10\n"), first_line_state::http_request);
}
