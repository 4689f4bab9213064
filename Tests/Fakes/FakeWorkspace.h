#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Workspace.h"
#include "Support/Errors.h"

namespace glimto {

// A desktop that notes what it is asked to show.
class FakeWorkspace final : public Workspace {
public:
    bool succeeds = true;
    std::optional<std::string> launchError; // thrown instead when set
    std::vector<std::filesystem::path> opened;
    std::vector<std::filesystem::path> revealed;

    bool openFile(const std::filesystem::path& path) override { return note(opened, path); }
    bool revealFile(const std::filesystem::path& path) override { return note(revealed, path); }

private:
    bool note(std::vector<std::filesystem::path>& paths, const std::filesystem::path& path) const
    {
        if (launchError)
            throw PlatformError("POSIX", 2, *launchError);
        paths.push_back(path);
        return succeeds;
    }
};

} // namespace glimto
