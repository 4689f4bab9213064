#include "TakeVerification.h"

#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "GlimtoTake/Takes/TakeFiles.h"
#include "Support/Errors.h"
#include "Support/JSONText.h"
#include "Support/JSONFields.h"

extern char** environ;

namespace glimto {

namespace {

namespace fs = std::filesystem;

constexpr const char* scriptName = "verify-media-contract.sh";
constexpr std::size_t mostResultBytes = std::size_t{64} << 20U;

fs::path findScript(const std::optional<fs::path>& executable)
{
    if (executable) {
        const fs::path above = executable->parent_path().parent_path();
        for (const fs::path& folder : {above / "scripts", above / "share" / "glimto-capture"}) {
            std::error_code ignored;
            if (fs::is_regular_file(folder / scriptName, ignored))
                return folder / scriptName;
        }
    }
    throw CLIError(std::string("The script ") + scriptName + " is missing; it belongs to this program.");
}

int waitForEnd(pid_t process)
{
    int status = 0;
    while (::waitpid(process, &status, 0) < 0) {
        if (errno != EINTR)
            throw PlatformError::posix("Could not wait for the verification", errno);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

int runScript(const fs::path& script, const fs::path& take, VerificationOutput form)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (form == VerificationOutput::json)
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    std::string program = script.string();
    std::string directory = take.string();
    std::array<char*, 3> arguments = {program.data(), directory.data(), nullptr};
    pid_t process = 0;
    const int error = ::posix_spawn(&process, program.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw PlatformError::posix("Could not run " + program, error);
    return waitForEnd(process);
}

} // namespace

int verifyTake(const fs::path& take, const std::optional<fs::path>& executable, VerificationOutput form,
    LineOutput& standardOutput)
{
    const TakeFiles files = TakeFiles::open(take);
    const fs::path root = files.plan().root;
    const int status = runScript(findScript(executable), root, form);
    if (form == VerificationOutput::json && status <= 1) {
        const auto text = files.text(root / "verification.json", mostResultBytes);
        if (!text)
            throw CLIError("The verification has left no verification.json.");
        standardOutput.writeDocument(encodeScreenCaptureJSON(parseJSON(*text, "verification.json")));
    }
    return status;
}

} // namespace glimto
