#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Options/CaptureRegion.h"
#include "Options/ScreenshotOptions.h"
#include "Support/Errors.h"

namespace glimto {

// Walks the arguments of one command from left to right: flags, each with the value that follows it.
//
// A value is taken whatever it looks like. All value operations read the argument after the current
// flag, move past it and name the flag as the user typed it when they throw CLIError.
class OptionReader {
public:
    // The arguments outlive the reader.
    explicit OptionReader(std::span<const std::string> arguments)
        : arguments_(arguments)
    {
    }

    // Moves to the next flag. False when no argument is left.
    bool advance();

    const std::string& flag() const { return flag_; }

    // The flag as it may be told: an access key that somebody joined to it is told nowhere.
    std::string shownFlag() const;

    std::string stringValue();

    // standardizedPath() of the value.
    std::filesystem::path pathValue();

    // absolutePath() of the value, for a file that others make: ".." behind a symbolic link has to mean the
    // same to them and to us.
    std::filesystem::path foreignPathValue();

    // A decimal integer with an optional sign.
    std::int64_t intValue();

    // An integer of 0 or greater.
    std::int64_t displayIndexValue();

    // A finite decimal number, with a point in every locale: "5", "-0.5", "1e3".
    double doubleValue();

    // A number greater than 0.
    double positiveValue();

    std::uint32_t windowIdValue();

    // "x,y,width,height" with width and height of at least 24.
    CaptureRegion captureRegionValue();

    // {"kind":"region","x":0,"y":0,"width":100,"height":100} with width and height of at least 1, or
    // {"kind":"display","index":0}, where the index may also be called "displayIndex" or "display_index".
    ScreenshotTarget screenshotTargetJSONValue();

    // A JSON array of window ids.
    std::vector<std::uint32_t> windowIDsJSONValue();

    // An http or https URL (RFC 3986) with a host. Throws with the message for --api-base-url.
    std::string apiBaseURLValue();

private:
    std::span<const std::string> arguments_;
    std::size_t next_ = 0;
    std::string flag_;
};

// What each flag of a command does to the command's options.
template <typename Options>
using OptionTable = std::map<std::string, std::function<void(Options&, OptionReader&)>>;

// A flag that sets a field: to `value`, or to what it reads.
//
//     {"--stdout-json", setting(&Options::stdoutJSON, true)},
//     {"--output", reading(&Options::outputURL, &OptionReader::pathValue)},
template <typename Options, typename Field, typename Value> auto setting(Field Options::*field, Value value)
{
    return [=](Options& options, OptionReader&) { options.*field = value; };
}

template <typename Options, typename Field, typename Value>
auto reading(Field Options::*field, Value (OptionReader::*read)())
{
    return [=](Options& options, OptionReader& reader) { options.*field = (reader.*read)(); };
}

// Applies every flag of `arguments`. Throws CLIError for a flag that is not in the table; `command` is
// the command's name in that message.
template <typename Options>
void readOptions(std::span<const std::string> arguments, const OptionTable<Options>& table,
    const std::string& command, Options& options)
{
    OptionReader reader(arguments);
    while (reader.advance()) {
        const auto entry = table.find(reader.flag());
        if (entry == table.end())
            throw CLIError(
                "Unknown " + command + " option '" + reader.shownFlag() + "'. Run `glimto-capture help`.");
        entry->second(options, reader);
    }
}

} // namespace glimto
