#include "CommandLine/Hints.h"

#include <algorithm>
#include <map>
#include <optional>
#include <sstream>
#include <system_error>

#include <nlohmann/json.hpp>

#include "CommandLine/UsageText.h"
#include "Support/Text.h"

namespace glimto {

namespace {

constexpr std::size_t mostWindows = 5;
constexpr std::size_t longestWord = 64; // what is longer was not meant to be a command or an option

using Words = std::vector<std::string>;

// The commands of the usage text with the options of each.
std::map<std::string, Words> commandsWithOptions()
{
    static const std::map<std::string, std::string> sections
        = {{"WINDOW OPTIONS", "windows-json"}, {"SCREENSHOT OPTIONS", "screenshot"},
            {"CLIPBOARD OPTIONS", "clipboard-image"}, {"RECOGNIZE-TEXT OPTIONS", "recognize-text"},
            {"RECORD OPTIONS", "record"}, {"UPLOAD OPTIONS", "upload"}};
    std::map<std::string, Words> commands = {{"help", {}}};
    std::istringstream usage(usageText());
    std::string section;
    for (std::string line; std::getline(usage, line);) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (!line.empty() && line.front() != ' ') {
            const auto found = sections.find(line);
            section = found == sections.end() ? "" : found->second;
        } else if (word == "glimto-capture" && words >> word) {
            commands.try_emplace(word);
        }
        for (; !section.empty() && word.starts_with('-'); word.clear(), words >> word)
            commands[section].push_back(word.ends_with(',') ? word.substr(0, word.size() - 1) : word);
    }
    return commands;
}

// The word that `word` is most like, when the two have most letters in common.
std::optional<std::string> nearest(const std::string& word, const Words& known)
{
    if (word.size() > longestWord)
        return std::nullopt;
    const std::size_t limit = std::max<std::size_t>(1, word.size() / 3);
    std::optional<std::string> best;
    std::size_t bestDistance = limit + 1;
    for (const auto& candidate : known) {
        const std::size_t distance = editDistance(word, candidate);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = candidate;
        }
    }
    return best;
}

// What stands between the first two apostrophes behind `beginning`; nothing when `message` begins otherwise.
std::optional<std::string> quotedAfter(const std::string& message, const std::string& beginning)
{
    const std::string start = beginning + "'";
    if (!message.starts_with(start))
        return std::nullopt;
    const auto end = message.rfind("'. Run ");
    if (end == std::string::npos || end < start.size())
        return std::nullopt;
    return message.substr(start.size(), end - start.size());
}

// A path as a shell takes it.
std::string quoted(const std::string& text)
{
    static constexpr std::string_view harmless
        = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./+,:@%";
    if (!text.empty() && text.find_first_not_of(harmless) == std::string::npos)
        return text;
    std::string result = "'";
    for (const char character : text) {
        if (character == '\'')
            result += "'\\''";
        else
            result += character;
    }
    return result + "'";
}

// A word that stands alone is most often what somebody wants the result to be called.
std::optional<std::string> outputHint(const std::string& command, const std::string& word)
{
    static const std::map<std::string, std::string> options = {{"record", "-o"}, {"screenshot", "-o"},
        {"upload", "--dir"}, {"clipboard-image", "--path"}, {"recognize-text", "--path"}};
    const auto found = options.find(command);
    if (found == options.end())
        return std::nullopt;
    return "a path needs its option: glimto-capture " + command + " " + found->second + " " + quoted(word);
}

} // namespace

std::size_t editDistance(std::string_view first, std::string_view second)
{
    std::vector<std::vector<std::size_t>> distance(
        first.size() + 1, std::vector<std::size_t>(second.size() + 1));
    for (std::size_t row = 0; row <= first.size(); ++row) {
        for (std::size_t column = 0; column <= second.size(); ++column) {
            auto& here = distance[row][column];
            if (row == 0 || column == 0) {
                here = row + column;
                continue;
            }
            const std::size_t other = first[row - 1] == second[column - 1] ? 0 : 1;
            here = std::min({distance[row - 1][column] + 1, distance[row][column - 1] + 1,
                distance[row - 1][column - 1] + other});
            if (row > 1 && column > 1 && first[row - 1] == second[column - 2]
                && first[row - 2] == second[column - 1])
                here = std::min(here, distance[row - 2][column - 2] + 1);
        }
    }
    return distance.back().back();
}

std::vector<std::string> argumentHints(std::span<const std::string> arguments, const std::string& message)
{
    const auto commands = commandsWithOptions();
    if (const auto word = quotedAfter(message, "Unknown command ")) {
        Words names;
        for (const auto& [name, options] : commands)
            names.push_back(name);
        const auto meant = nearest(*word, names);
        return meant ? Words{"did you mean `glimto-capture " + *meant + "`?"} : Words{};
    }
    if (arguments.empty())
        return {};
    const std::string& command = arguments.front();
    const auto found = commands.find(command);
    if (found == commands.end())
        return {};
    if (const auto word = quotedAfter(message, "Unknown " + command + " option ")) {
        const auto meant = word->starts_with('-') ? nearest(*word, found->second) : std::nullopt;
        if (meant)
            return {"did you mean `" + *meant + "`?"};
        const auto hint = word->starts_with('-') ? std::nullopt : outputHint(command, *word);
        return hint ? Words{*hint} : Words{};
    }
    if (message == "--until-stopped requires --stop-file.")
        return {"to record until you press Ctrl-C: glimto-capture record -d 86400 -o demo"};
    if (message == "screenshot requires --output <png>.")
        return {"for example: glimto-capture screenshot -o shot.png"};
    return {};
}

std::vector<std::string> windowHints(const std::string& message)
{
    static constexpr std::string_view mark = "GLIMTO_CAPTURE_ERROR_JSON=";
    const auto begin = message.find(mark);
    if (begin == std::string::npos)
        return {};
    const auto json = nlohmann::json::parse(message.substr(begin + mark.size()), nullptr, false);
    if (!json.is_object() || !json.contains("candidateWindows"))
        return {};
    Words hints;
    for (const auto& window : json.at("candidateWindows")) {
        const std::string title = window.value("title", "");
        if (title.empty())
            continue;
        hints.push_back("--window-id " + std::to_string(window.at("windowID").get<std::uint32_t>()) + " is \""
            + excerpt(title) + "\"");
        if (hints.size() == mostWindows)
            break;
    }
    return hints;
}

std::vector<std::string> playHints(const std::filesystem::path& take)
{
    std::error_code error;
    const auto folder = take.lexically_relative(std::filesystem::current_path(error));
    const auto name = folder.empty() || folder.native().starts_with("..") ? take.string() : folder.string();
    return {"play it: mpv " + quoted(name + "/segments/playlist.m3u8"),
        "one file of it: glimto-take export " + quoted(name) + " -o " + quoted(name + ".mp4")};
}

std::vector<std::string> repairHints(const std::filesystem::path& take)
{
    return {"what was recorded is kept; this makes a whole take of it: glimto-take repair "
        + quoted(take.string())};
}

} // namespace glimto
