// A summary of a record.
#pragma once

#include "play/record_file.h"

#include <cstdio>

/// Checks that every line is valid and that ticks never decrease, and prints which game it was, its length and, if the
/// record has them, its results. @return false when a line is invalid, after a line on standard error
[[nodiscard]] bool print_summary(const record_file_t& record, FILE* out);
