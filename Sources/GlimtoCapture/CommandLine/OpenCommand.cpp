#include "CommandLine/OpenCommand.h"

#include <string>

#include "Support/Errors.h"

namespace glimto {

void runOpenCommand(OpenAction action, const std::filesystem::path& path, Workspace& workspace)
{
    const bool reveals = action == OpenAction::revealFile;
    const std::string failure = std::string("Could not ") + (reveals ? "reveal file" : "open file");
    bool succeeded = false;
    try {
        succeeded = reveals ? workspace.revealFile(path) : workspace.openFile(path);
    } catch (const PlatformError& error) {
        throw CLIError(failure + ": " + error.what());
    }
    if (!succeeded)
        throw CLIError(failure + ".");
}

void runOpenCommandOrWarn(
    OpenAction action, const std::filesystem::path& path, Workspace& workspace, LineOutput& standardError)
{
    try {
        runOpenCommand(action, path, workspace);
    } catch (const std::exception& error) {
        standardError.writeLine(std::string("Warning: ") + error.what());
    }
}

} // namespace glimto
