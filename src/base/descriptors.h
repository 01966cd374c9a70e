// The process's descriptors: standard input, output and error, and how many are left.
#pragma once

/// Opens the null device on each of descriptors 0, 1 and 2 that is closed, so that no socket or file gets its number
/// and with it what is written to standard error. The first thing a program does, before any other descriptor is
/// opened.
void open_standard_streams();

/// How many more descriptors the process may open now, by its limit; never negative.
[[nodiscard]] int free_descriptors();
