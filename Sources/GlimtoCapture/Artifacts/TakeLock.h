#pragma once

#include <filesystem>
#include <optional>

#include "Support/FileDescriptor.h"

namespace glimto {

// The lock (flock) on a take's directory itself, which leaves no file behind: whoever records into it holds
// it as long as the recording runs, so that others can tell a recording that runs from one that was killed.
//
// The lock is held as long as the descriptor is open. Absent when another process holds it; closed where
// there is no lock to be had, because the directory cannot be read or its file system has none. Never waits.
std::optional<FileDescriptor> lockTake(const std::filesystem::path& directory);

} // namespace glimto
