#include "class/guards.h"

#include "class/text.h"

#include <algorithm>
#include <arpa/inet.h>

namespace classroom {

std::string host_of(std::string_view header) {
    if (header.size() > 255) return "";
    size_t end = header.size();
    if (header.starts_with('[')) {
        end = header.find(']');
        if (end == std::string_view::npos) return "";
        ++end;
    } else {
        end = std::min(end, header.find(':'));
    }
    std::string_view port = header.substr(end);
    if (!port.empty()) {
        if (port[0] != ':' || !decimal(port.substr(1), 65535)) return "";
    }
    return lower(header.substr(0, end));
}

bool host_is_ours(std::string_view header, std::span<const std::string> names) {
    const std::string host = host_of(header);
    if (host.empty()) return false;
    if (host_is_local(header)) return true;
    in6_addr address{};
    if (host.front() == '[') return inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &address) == 1;
    return inet_pton(AF_INET, host.c_str(), &address) == 1 ||
           std::find(names.begin(), names.end(), host) != names.end();
}

bool host_is_local(std::string_view header) {
    const std::string host = host_of(header);
    return host == "localhost" || host == "127.0.0.1" || host == "[::1]";
}

bool page_is_ours(std::string_view origin, std::string_view host, std::string_view site) {
    if (!site.empty() && site != "same-origin" && site != "none") return false;
    if (origin.empty()) return true;
    constexpr std::string_view scheme = "http://";
    return origin.starts_with(scheme) && same_word(origin.substr(scheme.size()), host);
}

} // namespace classroom
