#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace glimto {

// The clipboard that all applications of the session share.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    // Replaces what is on it by a PNG, which stays there after this process has ended, until another
    // program puts something there. Absent once whoever pastes gets it; else what stood in the way, as a
    // sentence for the user. Does not throw.
    virtual std::optional<std::string> setPNG(std::span<const std::byte> data) = 0;
};

} // namespace glimto
