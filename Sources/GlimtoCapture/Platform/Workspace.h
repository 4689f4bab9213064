#pragma once

#include <filesystem>
#include <string>

namespace glimto {

struct WorkspaceResult {
    bool succeeded = true;
    std::string reason = {}; // a sentence, when it did not

    explicit operator bool() const { return succeeded; }
};

// The desktop around the program.
class Workspace {
public:
    virtual ~Workspace() = default;

    // Opens the file, or shows it in the file manager, and waits for the tool that does it. No success when
    // that tool ran and failed; throws PlatformError when it could not be started.
    virtual WorkspaceResult openFile(const std::filesystem::path& path) = 0;
    virtual WorkspaceResult revealFile(const std::filesystem::path& path) = 0;
};

} // namespace glimto
