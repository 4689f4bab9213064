#include "CommandLine/WebAddress.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "CommandLine/DecimalText.h"

namespace glimto {

namespace {

bool isHexadecimalDigit(char character)
{
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f')
        || (character >= 'A' && character <= 'F');
}

bool isURLCharacter(char character)
{
    constexpr std::string_view notAllowed = "\"<>\\^`{|}";
    return character > ' ' && character < '\x7F' && notAllowed.find(character) == std::string_view::npos;
}

bool hasOnlyURLCharacters(std::string_view text)
{
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!isURLCharacter(text[at]))
            return false;
        const bool isEscape
            = at + 2 < text.size() && isHexadecimalDigit(text[at + 1]) && isHexadecimalDigit(text[at + 2]);
        if (text[at] == '%' && !isEscape)
            return false;
    }
    return true;
}

bool isPortSuffix(std::string_view text)
{
    if (text.empty() || text == ":")
        return true;
    const auto port = text.starts_with(':') ? decimalInteger(text.substr(1)) : std::nullopt;
    const bool hasSign = text.find_first_of("+-") != std::string_view::npos;
    return port && !hasSign && *port <= 65535;
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

} // namespace

bool isWebAddress(std::string_view text)
{
    if (!hasOnlyURLCharacters(text))
        return false;
    std::string_view rest = text;
    if (rest.starts_with("http://"))
        rest.remove_prefix(7);
    else if (rest.starts_with("https://"))
        rest.remove_prefix(8);
    else
        return false;
    const std::string_view authority = rest.substr(0, std::min(rest.find_first_of("/?#"), rest.size()));
    const std::size_t userEnd = authority.rfind('@');
    return isHostAndPort(userEnd == std::string_view::npos ? authority : authority.substr(userEnd + 1));
}

} // namespace glimto
