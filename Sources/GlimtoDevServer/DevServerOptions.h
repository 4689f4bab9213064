#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace glimto {

struct DevServerOptions {
    std::string address = "127.0.0.1";
    int port = 3000; // 0: any free one
    std::filesystem::path directory = "glimto-dev-server";
    std::optional<std::string> accessKey; // what API requests must carry
    std::optional<std::filesystem::path> webDirectory; // where hls.min.js lies, if anywhere
    std::optional<std::filesystem::path> takeTool; // the program glimto-take, if there is one
    std::vector<std::string> hostNames; // under which the server may be asked, besides addresses and its own
    bool showsHelp = false;

    // Throws CLIError with a sentence for the user.
    static DevServerOptions parse(std::span<const std::string> arguments);
};

// What `--help` prints.
std::string devServerUsage();

} // namespace glimto
