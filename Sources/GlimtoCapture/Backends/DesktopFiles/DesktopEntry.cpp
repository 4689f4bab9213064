#include "Backends/DesktopFiles/DesktopEntry.h"

#include <algorithm>

#include "Support/Text.h"

namespace glimto {

namespace {

std::string_view withoutSpaces(std::string_view text)
{
    constexpr std::string_view spaces = " \t\r";
    const auto first = text.find_first_not_of(spaces);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(spaces) - first + 1);
}

// A value of the type string: \s, \n, \t, \r and \\ stand for the characters.
std::string unescaped(std::string_view value)
{
    std::string result;
    for (std::size_t at = 0; at < value.size(); ++at) {
        if (value[at] != '\\' || at + 1 == value.size()) {
            result += value[at];
            continue;
        }
        constexpr std::string_view letters = "sntr\\";
        constexpr std::string_view meanings = " \n\t\r\\";
        ++at;
        const auto index = letters.find(value[at]);
        if (index == std::string_view::npos) {
            result += '\\';
            result += value[at];
        } else {
            result += meanings[index];
        }
    }
    return validUTF8(result);
}

void setOnce(std::string& field, std::string_view value)
{
    if (field.empty())
        field = unescaped(value);
}

} // namespace

DesktopEntry parseDesktopEntry(std::string_view text)
{
    DesktopEntry entry;
    bool isInGroup = false;
    while (!text.empty()) {
        const auto lineEnd = std::min(text.find('\n'), text.size());
        const auto line = withoutSpaces(text.substr(0, lineEnd));
        text.remove_prefix(std::min(lineEnd + 1, text.size()));
        if (line.empty() || line.front() == '#')
            continue;
        if (line.front() == '[') {
            if (isInGroup)
                break;
            isInGroup = line == "[Desktop Entry]";
            continue;
        }
        const auto equals = line.find('=');
        if (!isInGroup || equals == std::string_view::npos)
            continue;
        const auto key = withoutSpaces(line.substr(0, equals));
        const auto value = withoutSpaces(line.substr(equals + 1));
        if (key == "Type")
            setOnce(entry.type, value);
        else if (key == "Name")
            setOnce(entry.name, value);
        else if (key == "StartupWMClass")
            setOnce(entry.startupWMClass, value);
        else if (key == "Hidden")
            entry.isHidden = entry.isHidden || value == "true";
    }
    return entry;
}

} // namespace glimto
