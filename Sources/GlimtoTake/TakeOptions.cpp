#include "TakeOptions.h"

#include <functional>
#include <map>

#include "Support/DecimalText.h"
#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

// Walks the arguments behind the command's word.
class Arguments {
public:
    explicit Arguments(std::span<const std::string> rest)
        : rest_(rest)
    {
    }

    bool isEmpty() const { return rest_.empty(); }

    // What follows an option.
    std::string value(const std::string& flag)
    {
        if (isEmpty())
            throw CLIError(flag + " needs a value.");
        return take();
    }

    std::string take()
    {
        std::string first = rest_.front();
        rest_ = rest_.subspan(1);
        return first;
    }

private:
    std::span<const std::string> rest_;
};

// A decimal number without a sign and an exponent; absent when the text is anything else.
std::optional<double> number(std::string_view text)
{
    const bool isPlain = text.find_first_not_of("0123456789.") == std::string_view::npos;
    return isPlain ? decimalNumber(text) : std::nullopt;
}

// Seconds, "minutes:seconds" or "hours:minutes:seconds".
double timeValue(const std::string& flag, const std::string& text)
{
    constexpr double latest = 1e7;
    const auto parts = pieces(text, ':');
    double seconds = 0;
    for (const auto part : parts) {
        const auto value = number(part);
        if (!value || parts.size() > 3 || seconds > latest)
            throw CLIError(flag + " must be a time such as 12.5 or 1:02:03.");
        seconds = seconds * 60 + *value;
    }
    return seconds;
}

double numberWithin(const std::string& flag, const std::string& text, double least, double most)
{
    const auto value = number(text);
    if (!value || *value < least || *value > most)
        throw CLIError(
            flag + " must be a number from " + shortestDecimal(least) + " to " + shortestDecimal(most) + ".");
    return *value;
}

// Six hexadecimal digits, with or without "#" before them.
std::uint32_t colourValue(const std::string& flag, std::string text)
{
    if (text.starts_with('#'))
        text.erase(0, 1);
    const auto value = wholeNumber<std::uint32_t>(text, 16);
    if (text.size() != 6 || !value)
        throw CLIError(flag + " must be a colour such as 202830.");
    return *value;
}

// What a flag does, told by its name to whom needs it for an error.
using Flag = std::function<void(TakeOptions&, const std::string& flag, Arguments&)>;
using Flags = std::map<std::string, Flag>;

struct CommandRules {
    TakeCommand command = TakeCommand::help;
    Flags flags;
};

Flag setting(bool TakeOptions::*field)
{
    return [=](TakeOptions& options, const std::string&, Arguments&) { options.*field = true; };
}

// A flag whose value becomes `field` by `read`, which gets the flag, the value and `limits`.
template <typename Field, typename Read, typename... Limits>
Flag reading(Field TakeOptions::*field, Read read, Limits... limits)
{
    return [=](TakeOptions& options, const std::string& flag, Arguments& rest) {
        options.*field = read(flag, rest.value(flag), limits...);
    };
}

std::string textValue(const std::string&, const std::string& text)
{
    return text;
}

int wholeNumberWithin(const std::string& flag, const std::string& text, double least, double most)
{
    return static_cast<int>(numberWithin(flag, text, least, most));
}

std::string oneOf(const std::string& flag, const std::string& text, const char* first, const char* second)
{
    if (text != first && text != second)
        throw CLIError(flag + " must be " + first + " or " + second + ".");
    return text;
}

const std::map<std::string, CommandRules>& commands()
{
    using Options = TakeOptions;
    const Flag json = setting(&Options::json);
    // Errors tell the long name of what has two.
    const Flag output = [](TakeOptions& options, const std::string&, Arguments& rest) {
        options.output = rest.value("--output");
    };
    Flags renderFlags = {
        {"-o", output},
        {"--output", output},
        {"--overwrite", setting(&Options::overwrite)},
        {"--json", json},
        {"--from", reading(&Options::from, timeValue)},
        {"--to", reading(&Options::to, timeValue)},
        {"--fps", reading(&Options::framesPerSecond, numberWithin, 0.1, 240)},
        {"--width", reading(&Options::width, wholeNumberWithin, 16, 16384)},
    };
    Flags exportFlags = renderFlags;
    exportFlags.insert({
        {"--video-only", setting(&Options::videoOnly)},
        {"--at", reading(&Options::at, timeValue)},
        {"--codec", reading(&Options::codec, oneOf, "av1", "vp9")},
    });
    renderFlags.insert({
        {"--zoom", reading(&Options::zoom, oneOf, "auto", "none")},
        {"--plan", reading(&Options::planFile, textValue)},
        {"--plan-only", setting(&Options::planOnly)},
        {"--pointer-size", reading(&Options::pointerSize, numberWithin, 0, 10)},
        {"--padding", reading(&Options::padding, wholeNumberWithin, 0, 2000)},
        {"--corner-radius", reading(&Options::cornerRadius, wholeNumberWithin, 0, 1000)},
        {"--background", reading(&Options::background, colourValue)},
    });
    static const std::map<std::string, CommandRules> table = {
        {"info", {TakeCommand::info, {{"--json", json}}}},
        {"verify", {TakeCommand::verify, {{"--json", json}}}},
        {"repair", {TakeCommand::repair, {{"--json", json}, {"--dry-run", setting(&Options::dryRun)}}}},
        {"export", {TakeCommand::exportFile, exportFlags}},
        {"render", {TakeCommand::render, renderFlags}},
    };
    return table;
}

void readArgument(const std::string& argument, const std::string& word, const CommandRules& rules,
    Arguments& arguments, TakeOptions& options)
{
    if (argument.size() > 1 && argument.front() == '-') {
        const auto flag = rules.flags.find(argument);
        if (flag == rules.flags.end())
            throw CLIError(
                "Unknown " + word + " option '" + singleLine(argument) + "'. Run `glimto-take help`.");
        flag->second(options, argument, arguments);
    } else if (!options.take.empty()) {
        throw CLIError(word + " takes one directory, not also '" + singleLine(argument) + "'.");
    } else {
        options.take = argument;
    }
}

} // namespace

TakeOptions TakeOptions::parse(std::span<const std::string> arguments)
{
    TakeOptions options;
    Arguments rest(arguments);
    if (rest.isEmpty())
        return options;
    const std::string word = rest.take();
    if (word == "help" || word == "--help" || word == "-h")
        return options;
    const auto rules = commands().find(word);
    if (rules == commands().end())
        throw CLIError("Unknown command '" + singleLine(word) + "'. Run `glimto-take help`.");
    options.command = rules->second.command;
    while (!rest.isEmpty()) {
        const std::string argument = rest.take();
        if (argument == "--help" || argument == "-h")
            return {};
        if (argument == "--") {
            while (!rest.isEmpty())
                options.take = rest.take();
        } else {
            readArgument(argument, word, rules->second, rest, options);
        }
    }
    if (options.take.empty())
        throw CLIError(word + " requires the directory of a take.");
    const bool writesFile
        = options.command == TakeCommand::exportFile || options.command == TakeCommand::render;
    if (writesFile && options.output.empty())
        throw CLIError(word + " requires --output <file>.");
    return options;
}

std::string takeUsage()
{
    return "glimto-take - looks at, repairs and converts recorded takes\n"
           "\n"
           "USAGE\n"
           "  glimto-take info <take> [--json]\n"
           "  glimto-take verify <take> [--json]\n"
           "  glimto-take repair <take> [--dry-run] [--json]\n"
           "  glimto-take export <take> -o <file> [options]\n"
           "  glimto-take render <take> -o <file.mp4> [options]\n"
           "  glimto-take help\n"
           "\n"
           "COMMANDS\n"
           "  info      Tell what is in a take, and whether it is whole\n"
           "  verify    Check a take against the media contract\n"
           "  repair    Make a take whole whose recording was killed or failed\n"
           "  export    Write a file of a kind that the file's name tells: .mp4 (nothing is encoded\n"
           "            again), .webm, .gif, .webp, .m4a or .wav (sound alone), .png (one picture)\n"
           "  render    Write an .mp4 file with the pointer drawn, clicks shown and the action zoomed in\n"
           "            (takes that were recorded with --record-events)\n"
           "\n"
           "OPTIONS\n"
           "  --json      One JSON object on standard output\n"
           "  --dry-run   Tell what a repair would do, and change nothing\n"
           "\n"
           "EXPORT OPTIONS\n"
           "  -o, --output <file>   The file to write; it appears whole or not at all\n"
           "  --overwrite           Replace a file that exists\n"
           "  --from <time>         Begin there: seconds, or 1:02:03\n"
           "  --to <time>           End there\n"
           "  --at <time>           The picture that is seen then (.png). Default: the first one\n"
           "  --video-only          Without sound (.mp4, .webm)\n"
           "  --fps <number>        Pictures a second, at most. Default: 15 (.gif, .webp), all (.webm)\n"
           "  --width <pixels>      Scale to that width (.gif, .webp, .webm)\n"
           "  --codec <av1|vp9>     Codec of .webm. Default: av1\n"
           "  --json                One JSON object on standard output\n"
           "\n"
           "RENDER OPTIONS, besides --output, --overwrite, --from, --to, --fps, --width and --json\n"
           "  --zoom <auto|none>       Move closer to where the action is. Default: none\n"
           "  --plan <file.json>       Move as this plan says\n"
           "  --plan-only              Write the plan that --zoom auto follows, as JSON, to be changed\n"
           "  --pointer-size <factor>  How large the pointer is drawn; 0 draws none. Default: 1\n"
           "  --padding <pixels>       Background around the picture. Default: 0\n"
           "  --corner-radius <pixels> Round the picture's corners. Default: 0\n"
           "  --background <colour>    Six hexadecimal digits. Default: 202830";
}

} // namespace glimto
