#include "Stills/WatermarkCache.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "Options/ScreenshotOptions.h"
#include "Support/AtomicFile.h"
#include "Support/JSONFields.h"
#include "Support/Paths.h"
#include "Support/RegularFile.h"

namespace glimto {

namespace {

constexpr std::size_t mostBytes = 1U << 20U;
constexpr std::size_t mostInputs = 4000; // files and variables
constexpr int longestSide = 2000; // pixels

struct NamedState {
    std::string name;
    std::optional<std::string> state; // absent: no such file or variable
};

void readFields(const JSONFields& fields, NamedState& input)
{
    fields.read("name", input.name);
    fields.read("state", input.state);
}

// The document of one line.
struct KeptLine {
    std::string text;
    double width = 0;
    double ascent = 0;
    double descent = 0;
    PixelRect rect; // of the coverage
    std::string coverage; // two hexadecimal digits a pixel
    std::vector<NamedState> files;
    std::vector<NamedState> variables;
};

void readFields(const JSONFields& fields, PixelRect& rect)
{
    fields.read("x", rect.x);
    fields.read("y", rect.y);
    fields.read("width", rect.width);
    fields.read("height", rect.height);
}

void readFields(const JSONFields& fields, KeptLine& line)
{
    fields.read("text", line.text);
    fields.read("width", line.width);
    fields.read("ascent", line.ascent);
    fields.read("descent", line.descent);
    readFields(fields.object("rect"), line.rect);
    fields.read("coverage", line.coverage);
    fields.read("files", line.files);
    fields.read("variables", line.variables);
}

std::optional<std::string> stateOfFile(const std::string& path)
{
    struct stat facts { };
    std::error_code error;
    const auto modified = std::filesystem::last_write_time(path, error).time_since_epoch().count();
    if (error || ::stat(path.c_str(), &facts) != 0)
        return std::nullopt;
    return std::to_string(facts.st_ino) + " " + std::to_string(facts.st_size) + " "
        + std::to_string(modified);
}

nlohmann::json jsonOf(const std::vector<NamedState>& inputs)
{
    auto array = nlohmann::json::array();
    for (const NamedState& input : inputs)
        array.push_back(input.state ? nlohmann::json({{"name", input.name}, {"state", *input.state}})
                                    : nlohmann::json({{"name", input.name}}));
    return array;
}

std::string hexadecimal(std::span<const std::uint8_t> values)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * values.size());
    for (const std::uint8_t value : values) {
        text += digits[value >> 4U];
        text += digits[value & 15U];
    }
    return text;
}

// Empty when it is not two digits for each of `count` values.
std::vector<std::uint8_t> valuesOf(std::string_view hexadecimal, std::size_t count)
{
    if (hexadecimal.size() != 2 * count)
        return {};
    std::vector<std::uint8_t> values(count);
    for (std::size_t at = 0; at < count; ++at) {
        const char* const begin = hexadecimal.data() + 2 * at;
        if (const auto [end, error] = std::from_chars(begin, begin + 2, values[at], 16); end != begin + 2)
            return {};
    }
    return values;
}

bool isWithin(double value)
{
    return value >= 0 && value <= longestSide;
}

std::optional<TextLine> lineOf(const KeptLine& kept)
{
    const PixelRect& rect = kept.rect;
    const bool isSmall = rect.width > 0 && rect.width <= longestSide && rect.height > 0
        && rect.height <= longestSide && std::abs(static_cast<double>(rect.x)) <= longestSide
        && std::abs(static_cast<double>(rect.y)) <= longestSide;
    if (!isSmall || !isWithin(kept.width) || !isWithin(kept.ascent) || !isWithin(kept.descent))
        return std::nullopt;
    const auto count = static_cast<std::size_t>(rect.width) * static_cast<std::size_t>(rect.height);
    const auto values = valuesOf(kept.coverage, count);
    if (values.empty())
        return std::nullopt;
    return TextLine{.width = kept.width,
        .ascent = kept.ascent,
        .descent = kept.descent,
        .coverage = CoverageMask::copied(rect, values.data(), static_cast<std::size_t>(rect.width))};
}

} // namespace

WatermarkCache::WatermarkCache(const ProcessEnvironment& process)
    : process_(process)
{
    if (const auto caches = process.cachesDirectory())
        directory_ = *caches / process.bundleIdentifier() / "watermarks";
}

std::filesystem::path WatermarkCache::fileOf(double fontSize) const
{
    return directory_ / (std::to_string(std::lround(fontSize)) + ".json");
}

std::optional<TextLine> WatermarkCache::find(double fontSize) const noexcept
try {
    if (directory_.empty())
        return std::nullopt;
    const auto path = fileOf(fontSize);
    const auto text = readRegularFile(path, mostBytes, SymbolicLinks::refused);
    if (!text)
        return std::nullopt;
    const auto kept = readJSON<KeptLine>(*text, path.filename().string());
    const bool isUnchanged = kept.text == watermarkText && !kept.files.empty()
        && std::ranges::all_of(
            kept.files, [](const NamedState& file) { return stateOfFile(file.name) == file.state; })
        && std::ranges::all_of(kept.variables,
            [&](const NamedState& variable) { return process_.variable(variable.name) == variable.state; });
    return isUnchanged ? lineOf(kept) : std::nullopt;
} catch (const std::exception&) {
    return std::nullopt; // as if it had never been kept
}

void WatermarkCache::keep(double fontSize, const TextLine& line) const noexcept
try {
    if (directory_.empty() || line.files.empty() || line.files.size() + line.variables.size() > mostInputs)
        return;
    std::vector<NamedState> files;
    std::vector<NamedState> variables;
    for (const std::string& name : line.files)
        files.push_back({name, stateOfFile(name)});
    for (const std::string& name : line.variables)
        variables.push_back({name, process_.variable(name)});
    const PixelRect& rect = line.coverage.rect();
    const nlohmann::json document
        = {{"text", watermarkText}, {"width", line.width}, {"ascent", line.ascent}, {"descent", line.descent},
            {"rect", {{"x", rect.x}, {"y", rect.y}, {"width", rect.width}, {"height", rect.height}}},
            {"coverage", hexadecimal(line.coverage.values())}, {"files", jsonOf(files)},
            {"variables", jsonOf(variables)}};
    makeDirectories(directory_);
    writeFileAtomically(FileBelow::of(fileOf(fontSize)), document.dump() + "\n", FileReaders::owner);
} catch (const std::exception&) {
    // The next one is set again.
}

} // namespace glimto
