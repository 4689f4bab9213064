#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace glimto {

enum class TakeCommand { help, info, verify, repair, exportFile, render };

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

    // render
    std::string zoom = "none"; // or "auto"
    bool planOnly = false;
    std::optional<std::filesystem::path> planFile;
    double pointerSize = 1; // 0 draws none
    int padding = 0; // pixels
    int cornerRadius = 0;
    std::uint32_t background = 0x202830; // 0xRRGGBB

    // Throws CLIError with a sentence that names the option or argument.
    static TakeOptions parse(std::span<const std::string> arguments);
};

std::string takeUsage();

} // namespace glimto
