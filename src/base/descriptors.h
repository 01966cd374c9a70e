// The process's file descriptors: the three standard ones, and how many are left.
#pragma once

/// Opens the null device on each of descriptors 0, 1 and 2 that is closed, so that no socket or file gets such a number
/// and receives what is written to standard error. Call before any other descriptor is opened.
void open_standard_streams();

/// Number of descriptors that the process may still open within its limit; never negative.
[[nodiscard]] int free_descriptors();
