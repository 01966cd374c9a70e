// What a record tells at a glance.
#pragma once

#include "play/record_file.h"

#include <cstdio>

/// Checks that every line makes sense and ticks never run back, and prints what game it was, how long it took and,
/// where the record has them, its results. @return false when a line makes no sense, after a line on standard error
[[nodiscard]] bool print_summary(const record_file_t& record, FILE* out);
