#pragma once

#include <filesystem>

#include "Platform/Workspace.h"
#include "Support/LineOutput.h"

namespace glimto {

enum class OpenAction { revealFile, openFile };

// Opens the file or shows it in the file manager. Throws CLIError: "Could not reveal file." when the tool
// that does it fails, for which a hint gives the reason, "Could not reveal file: <text>" when it cannot be
// started; likewise for "open".
void runOpenCommand(
    OpenAction action, const std::filesystem::path& path, Workspace& workspace, const Outputs& outputs);

// The same, where a failure is only a warning: "Warning: " and its message on standard error.
void runOpenCommandOrWarn(
    OpenAction action, const std::filesystem::path& path, Workspace& workspace, const Outputs& outputs);

} // namespace glimto
