#include "TakeTool.h"

#include <chrono>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "RecordingAPI.h"
#include "Support/Errors.h"
#include "Support/Paths.h"
#include "Support/RunProgram.h"

namespace glimto {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::minutes longestRun{2};

// What was made is good for as long as no file of the recording is younger.
bool isUpToDate(const fs::path& made, const fs::path& take)
{
    std::error_code error;
    const auto time = fs::last_write_time(made, error);
    if (error)
        return false;
    for (const auto& entry : fs::recursive_directory_iterator(take, error)) {
        std::error_code ignored;
        if (entry.last_write_time(ignored) > time)
            return false;
    }
    return !error;
}

} // namespace

TakeTool::TakeTool(std::optional<fs::path> program, fs::path directory)
    : program_(std::move(program))
    , directory_(std::move(directory))
{
}

std::optional<fs::path> TakeTool::besideThisProgram()
{
    std::error_code error;
    const auto tool = fs::read_symlink("/proc/self/exe", error).parent_path() / "glimto-take";
    if (error || ::access(tool.c_str(), X_OK) != 0)
        return std::nullopt;
    return tool;
}

fs::path TakeTool::mp4(const std::string& recordingId, const fs::path& take)
{
    return make(recordingId + ".mp4", take, {"export", fs::absolute(take).string(), "--overwrite"});
}

fs::path TakeTool::zoomPlan(const std::string& recordingId, const fs::path& take)
{
    return make(
        recordingId + ".json", take, {"render", fs::absolute(take).string(), "--plan-only", "--overwrite"});
}

void TakeTool::end()
{
    stop_.requestStop();
}

fs::path TakeTool::make(const std::string& name, const fs::path& take, std::vector<std::string> arguments)
{
    if (!program_)
        throw APIError(404, "This server has no glimto-take beside it.");
    const bool isOurs = isBusy_.waitFor(
        longestRun, [](bool isBusy) { return !isBusy; }, [](bool& isBusy) { isBusy = true; });
    if (!isOurs || stop_.isStopRequested())
        throw APIError(503, "The server is busy.");
    struct Turn {
        Guarded<bool>& isBusy;
        ~Turn()
        {
            isBusy.change([](bool& busy) { busy = false; });
        }
    } turn{isBusy_};

    auto file = fs::absolute(directory_) / name;
    if (isUpToDate(file, take))
        return file;
    makeDirectories(directory_);
    arguments.insert(arguments.begin(), program_->string());
    arguments.insert(arguments.end(), {"-o", file.string()});
    const auto status = runProgram(arguments, longestRun, ProgramOvertime::end, stop_);
    if (!status)
        throw APIError(503, "glimto-take takes too long.");
    if (*status != 0)
        throw APIError(422, "glimto-take makes nothing of this recording; `glimto-take info` tells why.");
    return file;
}

} // namespace glimto
