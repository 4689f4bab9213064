#pragma once

#include <filesystem>

#include "Platform/Workspace.h"

namespace glimto {

enum class OpenAction { revealFile, openFile };

// Opens the file or shows it in the file manager. Throws CLIError: "Could not reveal file." when the tool
// that does it fails, "Could not reveal file: <text>" when it cannot be started; likewise for "open".
void runOpenCommand(OpenAction action, const std::filesystem::path& path, Workspace& workspace);

} // namespace glimto
