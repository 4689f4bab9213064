#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace glimto {

enum class TakeCommand { help, info, verify, repair };

// What the command line of glimto-take asks for.
struct TakeOptions {
    TakeCommand command = TakeCommand::help;
    std::filesystem::path take;
    bool json = false;
    bool dryRun = false;

    // Throws CLIError with a sentence that names the option or argument.
    static TakeOptions parse(std::span<const std::string> arguments);
};

std::string takeUsage();

} // namespace glimto
