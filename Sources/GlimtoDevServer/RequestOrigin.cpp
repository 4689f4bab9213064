#include "RequestOrigin.h"

#include <algorithm>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>

#include "Support/Text.h"

namespace glimto {

namespace {

constexpr std::size_t longestHost = 255;
constexpr std::string_view digits = "0123456789";
constexpr std::string_view nameCharacters = "abcdefghijklmnopqrstuvwxyz0123456789.-";
constexpr std::string_view addressCharacters = "abcdef0123456789.:"; // of IPv6

bool isIPv6(const std::string& text)
{
    in6_addr address;
    return ::inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

bool isIPv4(const std::string& text)
{
    in_addr address;
    return ::inet_pton(AF_INET, text.c_str(), &address) == 1;
}

bool isPort(std::string_view text)
{
    return text.empty()
        || (text.size() <= 6 && text.front() == ':' && text.find_first_not_of(digits, 1) == text.npos);
}

} // namespace

std::string hostNameOf(std::string_view header)
{
    if (header.size() > longestHost)
        return "";
    if (header.starts_with("[")) {
        const auto end = header.find(']');
        if (end == header.npos || !isPort(header.substr(end + 1)))
            return "";
        const auto address = lowercased(header.substr(1, end - 1));
        // The system reads an address up to a zero byte.
        const bool isPlain = address.find_first_not_of(addressCharacters) == address.npos;
        return isPlain && isIPv6(address) ? address : "";
    }
    const auto end = std::min(header.find(':'), header.size());
    const auto name = lowercased(header.substr(0, end));
    if (!isPort(header.substr(end)) || name.find_first_not_of(nameCharacters) != name.npos)
        return "";
    return name;
}

bool isAddress(const std::string& host)
{
    return isIPv4(host) || isIPv6(host);
}

bool isLoopback(const std::string& host)
{
    in_addr address;
    if (::inet_pton(AF_INET, host.c_str(), &address) == 1)
        return ntohl(address.s_addr) >> 24 == IN_LOOPBACKNET;
    in6_addr address6;
    if (::inet_pton(AF_INET6, host.c_str(), &address6) == 1)
        return IN6_IS_ADDR_LOOPBACK(&address6);
    return host == "localhost";
}

ServedNames::ServedNames(std::string boundAddress, std::vector<std::string> names)
    : boundAddress_(lowercased(boundAddress))
{
    for (const auto& name : names)
        names_.push_back(lowercased(name));
}

bool ServedNames::includes(std::string_view hostHeader) const
{
    const auto host = hostNameOf(hostHeader);
    if (host.empty())
        return false;
    if (isLoopback(host) || host == boundAddress_
        || std::find(names_.begin(), names_.end(), host) != names_.end())
        return true;
    // Behind a loopback address nothing else leads here by right.
    return isAddress(host) && !isLoopback(boundAddress_);
}

bool isOwnOrigin(std::string_view originHeader, std::string_view hostHeader)
{
    static constexpr std::string_view scheme = "http://";
    return originHeader.starts_with(scheme)
        && lowercased(originHeader.substr(scheme.size())) == lowercased(hostHeader);
}

} // namespace glimto
