// Tells a web browser from a program by the first line of a connection. A form or an image on any page that somebody at
// this machine opens can make the browser connect to the clients' port, and its headers would be executed as commands.
// The line is an HTTP request line when it is a method word, a target, "HTTP/" and a version, with blanks between them.
// A target that begins with "/" may hold ";", which ends a line elsewhere: so nothing may be executed before the line
// either ends or turns out to be something else.
#pragma once

#include "field/clients.h"

/// Reads the next byte of a connection's first line. Bytes that are no part of a line are ignored, and so are
/// separators and blanks before the line. Once the line is told, further bytes change nothing.
void read_first_line(first_line_t& line, char byte);
