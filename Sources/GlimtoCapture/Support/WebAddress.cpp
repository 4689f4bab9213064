#include "Support/WebAddress.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "Support/DecimalText.h"
#include "Support/Text.h"

namespace glimto {

namespace {

// The byte that is escaped at `at` (RFC 3986 section 2.1); absent when none is.
std::optional<unsigned> escapedByte(std::string_view text, std::size_t at)
{
    const bool hasRoom = text[at] == '%' && at + 2 < text.size();
    return hasRoom ? wholeNumber<unsigned>(text.substr(at + 1, 2), 16) : std::nullopt;
}

bool isURLCharacter(char character)
{
    constexpr std::string_view notAllowed = "\"<>\\^`{|}";
    return character > ' ' && character < '\x7F' && notAllowed.find(character) == std::string_view::npos;
}

bool hasOnlyURLCharacters(std::string_view text)
{
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!isURLCharacter(text[at]) || (text[at] == '%' && !escapedByte(text, at)))
            return false;
    }
    return true;
}

bool isPortSuffix(std::string_view text)
{
    return text.empty() || text == ":"
        || (text.starts_with(':') && wholeNumber<std::uint16_t>(text.substr(1)));
}

// "host", "host:port" or "[IPv6 address]:port".
bool isHostAndPort(std::string_view text)
{
    if (text.starts_with('[')) {
        const std::size_t end = text.find(']');
        return end != std::string_view::npos && end > 1 && isPortSuffix(text.substr(end + 1));
    }
    const std::size_t hostEnd = std::min(text.find(':'), text.size());
    const std::string_view host = text.substr(0, hostEnd);
    return !host.empty() && host.find_first_of("[]") == std::string_view::npos
        && isPortSuffix(text.substr(hostEnd));
}

std::string percentDecoded(std::string_view text)
{
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto escaped = escapedByte(text, at);
        result += escaped ? static_cast<char>(*escaped) : text[at];
        at += escaped ? 2 : 0;
    }
    return result;
}

struct AddressParts {
    std::string_view hostAndPort;
    std::string_view path;
};

// Nothing when there is no scheme.
AddressParts partsOf(std::string_view address)
{
    const std::size_t schemeEnd = address.find("://");
    if (schemeEnd == std::string_view::npos)
        return {};
    const std::string_view rest = address.substr(schemeEnd + 3);
    const std::size_t authorityEnd = std::min(rest.find_first_of("/?#"), rest.size());
    const std::size_t pathEnd = std::min(rest.find_first_of("?#"), rest.size());
    const std::string_view authority = rest.substr(0, authorityEnd);
    const std::size_t userEnd = authority.rfind('@');
    return {.hostAndPort = userEnd == std::string_view::npos ? authority : authority.substr(userEnd + 1),
        .path = rest.substr(authorityEnd, pathEnd - authorityEnd)};
}

} // namespace

bool isWebAddress(std::string_view text)
{
    return hasOnlyURLCharacters(text) && (text.starts_with("http://") || text.starts_with("https://"))
        && isHostAndPort(partsOf(text).hostAndPort);
}

std::string percentEncoded(std::string_view text, std::string_view plain)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char character : text) {
        if (isAlphanumeric(character) || plain.find(character) != std::string_view::npos) {
            result += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            result += '%';
            result += digits[byte >> 4U];
            result += digits[byte & 0x0FU];
        }
    }
    return result;
}

std::string percentEncodedPathSegment(std::string_view text)
{
    const bool isDots = text == "." || text == ".."; // which would be taken for steps in the path
    return percentEncoded(text, isDots ? "" : "-._~!$&'()*+,;=:@"); // pchar of the RFC
}

std::string appendingPathSegments(std::string_view address, std::initializer_list<std::string_view> segments)
{
    const std::size_t pathEnd = std::min(address.find_first_of("?#"), address.size());
    std::string_view base = address.substr(0, pathEnd);
    while (base.ends_with('/'))
        base.remove_suffix(1);
    std::string result(base);
    for (const auto segment : segments)
        result += "/" + percentEncodedPathSegment(segment);
    result += address.substr(pathEnd);
    return result;
}

std::string hostOfWebAddress(std::string_view address)
{
    const std::string_view host = partsOf(address).hostAndPort;
    const std::size_t addressEnd = host.starts_with('[') ? std::min(host.find(']'), host.size()) : 0;
    return lowercased(host.substr(0, std::min(host.find(':', addressEnd), host.size())));
}

bool isThisMachine(std::string_view host)
{
    if (host == "localhost" || host.ends_with(".localhost") || host == "[::1]")
        return true;
    const bool isIPv4Address = std::count(host.begin(), host.end(), '.') == 3
        && host.find_first_not_of("0123456789.") == std::string_view::npos;
    return isIPv4Address && host.starts_with("127.");
}

std::string pathOfWebAddress(std::string_view address)
{
    return percentDecoded(partsOf(address).path);
}

} // namespace glimto
