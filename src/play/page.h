// One page that plays a record in a browser, with all that it needs inside.
#pragma once

/// Writes the page for the record at `record` to `page` ("-" is standard output). The scripts are those that
/// scripts/viewer-build has made: in `scripts`, or beside the program where that is null.
/// @return false when something is missing or cannot be written, after a line on standard error
[[nodiscard]] bool write_page(const char* record, const char* page, const char* scripts);
