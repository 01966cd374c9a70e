// Access rules: the host that a request names, the page that it comes from, and the machine. Pure functions.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace classroom {

/// The host of "HOST" or "HOST:PORT" in lower case ("[::1]:80" gives "[::1]"); empty when it is malformed.
[[nodiscard]] std::string host_of(std::string_view header);

/// A foreign page may have pointed its own name at this machine after it was loaded (DNS rebinding). Addresses cannot
/// be abused that way, so they are admitted, as are the names by which this machine is known.
/// @param names  in lower case
[[nodiscard]] bool host_is_ours(std::string_view header, std::span<const std::string> names);

/// localhost, 127.0.0.1 or [::1].
[[nodiscard]] bool host_is_local(std::string_view header);

/// @param origin  header Origin, empty when absent; must be exactly the address that Host names
/// @param site    header Sec-Fetch-Site, empty when there was none
[[nodiscard]] bool page_is_ours(std::string_view origin, std::string_view host, std::string_view site);

} // namespace classroom
