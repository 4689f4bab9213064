#pragma once

#include <filesystem>

namespace glimto {

// Whether another user than this process's, root and the owner of `trusted` may change what `path` holds, or
// it cannot be told. A group that has its only user's name is nobody else.
bool mayBeOthers(const std::filesystem::path& path, const std::filesystem::path& trusted);

} // namespace glimto
