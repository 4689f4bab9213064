#pragma once

#include <chrono>

#include "Platform/Workspace.h"

namespace glimto {

// The desktop through its own tools: `xdg-open` opens a file; the file manager on the session bus
// (org.freedesktop.FileManager1, called with `gdbus` or `dbus-send`) shows it, else `xdg-open` opens
// the folder.
//
// A tool is waited for ten seconds. One that opens a file and still runs then is the program that shows
// it: it is left alone and counts as a success.
class DesktopWorkspace final : public Workspace {
public:
    explicit DesktopWorkspace(std::chrono::milliseconds deadline = std::chrono::seconds(10));

    WorkspaceResult openFile(const std::filesystem::path& path) override;
    WorkspaceResult revealFile(const std::filesystem::path& path) override;

private:
    bool showInFileManager(const std::filesystem::path& path) const;

    std::chrono::milliseconds deadline_;
};

} // namespace glimto
