// Tells a web browser from a program by the first line of a connection. A form or an image on any page opened on this
// machine can make the browser connect to the clients' port, and its headers would be executed as commands. The line is
// an HTTP request line when it is a method word, a target, "HTTP/" and a version, with blanks in between. A target that
// begins with "/" may contain ";", which otherwise ends a line: so nothing may be executed before the line ends or
// turns out to be something else.
#pragma once

#include "field/clients.h"

/// Reads the next byte of a connection's first line. Bytes that are not part of a line are ignored, as are separators
/// and blanks before it. Once the line is decided, further bytes change nothing.
void read_first_line(first_line_t& line, char byte);
