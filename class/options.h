// The command line of kelmora-class.
#pragma once

#include <string>
#include <vector>

namespace classroom {

struct endpoint {
    std::string host;
    int port;
};

struct options {
    std::string listen = "0.0.0.0";
    int port = 2288;
    std::vector<endpoint> fields;      // at least one
    std::vector<endpoint> viewers;     // one for each field, port 0: none
    std::vector<std::string> canvases; // one for each field, empty: none
    double turn_minutes = 10;
    std::string code;               // empty: a random one
    std::string root;               // empty: beside the program
    std::vector<std::string> names; // further names of this machine, in lower case
    std::string address;            // by which others reach this machine; empty: detected
    bool show_qr = true;
};

enum class parsed { run, help, wrong };

/// @param error  one readable line when the result is parsed::wrong
[[nodiscard]] parsed parse_options(int argc, char** argv, options& out, std::string& error);

[[nodiscard]] const char* help_text();

} // namespace classroom
