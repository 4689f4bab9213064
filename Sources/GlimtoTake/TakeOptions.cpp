#include "TakeOptions.h"

#include <functional>
#include <map>

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

    std::string take()
    {
        std::string first = rest_.front();
        rest_ = rest_.subspan(1);
        return first;
    }

private:
    std::span<const std::string> rest_;
};

using Flag = std::function<void(TakeOptions&, Arguments&)>;
using Flags = std::map<std::string, Flag>;

struct CommandRules {
    TakeCommand command = TakeCommand::help;
    Flags flags;
};

const std::map<std::string, CommandRules>& commands()
{
    const Flag json = [](TakeOptions& options, Arguments&) { options.json = true; };
    const Flag dryRun = [](TakeOptions& options, Arguments&) { options.dryRun = true; };
    static const std::map<std::string, CommandRules> table = {
        {"info", {TakeCommand::info, {{"--json", json}}}},
        {"verify", {TakeCommand::verify, {{"--json", json}}}},
        {"repair", {TakeCommand::repair, {{"--json", json}, {"--dry-run", dryRun}}}},
    };
    return table;
}

void readArgument(const std::string& argument, const std::string& word, const CommandRules& rules,
    Arguments& arguments, TakeOptions& options)
{
    if (argument.size() > 1 && argument.front() == '-') {
        const auto flag = rules.flags.find(argument);
        if (flag == rules.flags.end())
            throw CLIError("Unknown " + word + " option '" + singleLine(argument) + "'. Run `glimto-take help`.");
        flag->second(options, arguments);
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
           "  glimto-take help\n"
           "\n"
           "COMMANDS\n"
           "  info      Tell what is in a take, and whether it is whole\n"
           "  verify    Check a take against the media contract\n"
           "  repair    Make a take whole whose recording was killed or failed\n"
           "\n"
           "OPTIONS\n"
           "  --json      One JSON object on standard output\n"
           "  --dry-run   Tell what a repair would do, and change nothing";
}

} // namespace glimto
