#pragma once

#include <filesystem>
#include <vector>

namespace glimto {

// The directories that preparing a take makes. Made just before, it knows which of them are new, so that a
// recording that comes to nothing can leave the place as it was.
class TakeDirectories {
public:
    explicit TakeDirectories(const std::filesystem::path& root);

    // Removes the directories made since, as far as they are empty.
    void removeEmpty() const noexcept;

private:
    std::vector<std::filesystem::path> missing_; // innermost first
};

} // namespace glimto
