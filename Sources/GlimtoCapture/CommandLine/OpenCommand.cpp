#include "CommandLine/OpenCommand.h"

#include <string>

#include "Support/Errors.h"

namespace glimto {

void runOpenCommand(
    OpenAction action, const std::filesystem::path& path, Workspace& workspace, const Outputs& outputs)
{
    const bool reveals = action == OpenAction::revealFile;
    const std::string failure = std::string("Could not ") + (reveals ? "reveal file" : "open file");
    WorkspaceResult result;
    try {
        result = reveals ? workspace.revealFile(path) : workspace.openFile(path);
    } catch (const PlatformError& error) {
        throw CLIError(failure + ": " + error.what());
    }
    if (result)
        return;
    if (outputs.givesHints && !result.reason.empty())
        outputs.standardError.writeLine("hint: " + result.reason);
    throw CLIError(failure + ".");
}

void runOpenCommandOrWarn(
    OpenAction action, const std::filesystem::path& path, Workspace& workspace, const Outputs& outputs)
{
    try {
        runOpenCommand(action, path, workspace, outputs);
    } catch (const std::exception& error) {
        outputs.standardError.writeLine(std::string("Warning: ") + error.what());
    }
}

} // namespace glimto
