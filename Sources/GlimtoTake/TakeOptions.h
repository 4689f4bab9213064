#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace glimto {

enum class TakeCommand { help, info, verify, repair, exportFile };

// What the command line of glimto-take asks for.
struct TakeOptions {
    TakeCommand command = TakeCommand::help;
    std::filesystem::path take;
    bool json = false;
    bool dryRun = false;

    // export
    std::filesystem::path output;
    bool overwrite = false;
    bool videoOnly = false;
    std::optional<double> from; // seconds
    std::optional<double> to;
    std::optional<double> at;
    std::optional<double> framesPerSecond;
    std::optional<int> width; // pixels
    std::optional<std::string> codec; // "av1" or "vp9"

    // Throws CLIError with a sentence that names the option or argument.
    static TakeOptions parse(std::span<const std::string> arguments);
};

std::string takeUsage();

} // namespace glimto
