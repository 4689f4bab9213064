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
    std::string reason; // of no success
    std::optional<std::string> launchError; // thrown instead when set
    std::vector<std::filesystem::path> opened;
    std::vector<std::filesystem::path> revealed;

    WorkspaceResult openFile(const std::filesystem::path& path) override { return note(opened, path); }
    WorkspaceResult revealFile(const std::filesystem::path& path) override { return note(revealed, path); }

private:
    WorkspaceResult note(std::vector<std::filesystem::path>& paths, const std::filesystem::path& path) const
    {
        if (launchError)
            throw PlatformError("POSIX", 2, *launchError);
        paths.push_back(path);
        return {succeeds, succeeds ? "" : reason};
    }
};

} // namespace glimto
