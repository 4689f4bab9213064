#include "Backends/Desktop/DesktopWorkspace.h"

#include <cerrno>
#include <string>
#include <system_error>
#include <vector>

#include "Backends/Desktop/FileURI.h"
#include "Support/EnvironmentVariable.h"
#include "Support/Errors.h"
#include "Support/RunProgram.h"
#include "Support/Paths.h"

namespace glimto {

namespace {

// Without a bus of the session the D-Bus tools would start one of their own.
bool hasSessionBus()
{
    if (!environmentVariable("DBUS_SESSION_BUS_ADDRESS").empty())
        return true;
    const std::filesystem::path directory = environmentVariable("XDG_RUNTIME_DIR");
    std::error_code error;
    return !directory.empty() && std::filesystem::exists(directory / "bus", error);
}

// Of xdg-open's exit status, as its manual says.
std::string meaning(int status)
{
    switch (status) {
    case 2:
        return ": the file does not exist";
    case 3:
        return ": no program that could show it was found";
    case 4:
        return ": the program that shows it failed";
    default:
        return "";
    }
}

std::vector<std::string> gdbusCall(const std::string& uri)
{
    return {"gdbus", "call", "--session", "--dest", "org.freedesktop.FileManager1", "--object-path",
        "/org/freedesktop/FileManager1", "--method", "org.freedesktop.FileManager1.ShowItems",
        "['" + uri + "']", ""};
}

std::vector<std::string> dbusSendCall(const std::string& uri)
{
    return {"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.FileManager1",
        "/org/freedesktop/FileManager1", "org.freedesktop.FileManager1.ShowItems", "array:string:" + uri,
        "string:"};
}

} // namespace

DesktopWorkspace::DesktopWorkspace(std::chrono::milliseconds deadline)
    : deadline_(deadline)
{
}

WorkspaceResult DesktopWorkspace::openFile(const std::filesystem::path& path)
{
    // An absolute path is never taken for an option.
    const auto status
        = runProgram({"xdg-open", standardizedPath(path).string()}, deadline_, ProgramOvertime::leaveRunning);
    if (status.value_or(0) == 0)
        return {};
    return {false, "xdg-open ended with status " + std::to_string(*status) + meaning(*status) + "."};
}

WorkspaceResult DesktopWorkspace::revealFile(const std::filesystem::path& path)
{
    const auto item = standardizedPath(path);
    if (hasSessionBus() && showInFileManager(item))
        return {};
    std::error_code error;
    return openFile(std::filesystem::is_directory(item, error) ? item : item.parent_path());
}

bool DesktopWorkspace::showInFileManager(const std::filesystem::path& path) const
{
    const auto uri = fileURI(path);
    for (const auto& call : {gdbusCall(uri), dbusSendCall(uri)}) {
        try {
            return runProgram(call, deadline_, ProgramOvertime::end) == 0;
        } catch (const PlatformError& error) {
            if (error.code() != ENOENT)
                throw;
        }
    }
    return false;
}

} // namespace glimto
