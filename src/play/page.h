// A single page that plays a record in a browser, with everything it needs included.
#pragma once

/// Writes the page for the record at `record` to `page` ("-" is standard output). The scripts are those built by
/// scripts/viewer-build: in `scripts`, or when that is null beside the program.
/// @return false when something is missing or cannot be written, after a line on standard error
[[nodiscard]] bool write_page(const char* record, const char* page, const char* scripts);
