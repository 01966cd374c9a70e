// Who may ask what: the host that a request names, the page that it comes from, and the machine. Pure functions.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace classroom {

/// The host of "HOST" or "HOST:PORT" in lower case ("[::1]:80" gives "[::1]"); empty when it is malformed.
[[nodiscard]] std::string host_of(std::string_view header);

/// A page elsewhere may have had its own name point here after it was loaded. Only a name can do that: so addresses are
/// admitted, and the names that this machine is known by.
/// @param names  in lower case
[[nodiscard]] bool host_is_ours(std::string_view header, std::span<const std::string> names);

/// localhost, 127.0.0.1 or [::1].
[[nodiscard]] bool host_is_local(std::string_view header);

/// @param origin  header Origin, empty when there was none; it must be the very address that Host names
/// @param site    header Sec-Fetch-Site, empty when there was none
[[nodiscard]] bool page_is_ours(std::string_view origin, std::string_view host, std::string_view site);

} // namespace classroom
