#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Support/Guarded.h"
#include "Support/StopToken.h"

namespace glimto {

// What `glimto-take` makes of uploaded recordings, kept for those who ask again. It runs as a process of its
// own: what was uploaded is anybody's. Any thread may call.
class TakeTool {
public:
    // Without a program nothing is made. Files are kept in `directory`, which is made with the first of them.
    TakeTool(std::optional<std::filesystem::path> program, std::filesystem::path directory);

    // glimto-take where this program lies.
    static std::optional<std::filesystem::path> besideThisProgram();

    bool isAvailable() const { return program_.has_value(); }

    // The whole recording as one MP4 file; the plan of its zooms as JSON. `take` is the directory with what
    // was uploaded for it. Throws APIError when there is no program, it fails or takes longer than two
    // minutes, or as soon as end() is called.
    std::filesystem::path mp4(const std::string& recordingId, const std::filesystem::path& take);
    std::filesystem::path zoomPlan(const std::string& recordingId, const std::filesystem::path& take);

    // Nothing is made from now on.
    void end();

private:
    std::filesystem::path make(
        const std::string& name, const std::filesystem::path& take, std::vector<std::string> arguments);

    const std::optional<std::filesystem::path> program_;
    const std::filesystem::path directory_;
    const StopToken stop_;
    Guarded<bool> isBusy_{false}; // one is made at a time
};

} // namespace glimto
