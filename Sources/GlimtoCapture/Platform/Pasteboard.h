#pragma once

#include <cstddef>
#include <span>

namespace glimto {

// The clipboard that all applications of the session share.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    // Replaces what is on it by a PNG, which stays there after this process has ended, until another
    // program puts something there. True once the clipboard really holds it; false when it cannot be had.
    // Does not throw.
    virtual bool setPNG(std::span<const std::byte> data) = 0;
};

} // namespace glimto
