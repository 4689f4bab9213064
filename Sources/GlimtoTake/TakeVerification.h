#pragma once

#include <filesystem>
#include <optional>

#include "Support/LineOutput.h"

namespace glimto {

enum class VerificationOutput { lines, json };

// Runs the verification script that belongs to the program at `executable`: of its source tree, or the
// installed one. Returns the script's exit status: 0 when every check holds. With `json` the script's lines
// are kept back, and what it found is printed as one line. Throws CLIError when there is no script.
int verifyTake(const std::filesystem::path& take, const std::optional<std::filesystem::path>& executable,
    VerificationOutput form, LineOutput& standardOutput);

} // namespace glimto
