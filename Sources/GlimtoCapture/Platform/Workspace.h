#pragma once

#include <filesystem>

namespace glimto {

// The desktop around the program.
class Workspace {
public:
    virtual ~Workspace() = default;

    // Opens the file, or shows it in the file manager, and waits for the tool that does it. False when
    // that tool ran and failed; throws PlatformError when it could not be started.
    virtual bool openFile(const std::filesystem::path& path) = 0;
    virtual bool revealFile(const std::filesystem::path& path) = 0;
};

} // namespace glimto
