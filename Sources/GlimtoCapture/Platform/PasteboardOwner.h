#pragma once

#include <cstddef>
#include <functional>
#include <span>

namespace glimto {

// What keeps a picture on the clipboard: systems ask the program that put it there each time somebody pastes.
class PasteboardOwner {
public:
    virtual ~PasteboardOwner() = default;

    // Offers `png` until another program puts something on the clipboard or the session ends, and calls
    // `isOffered` once whoever pastes gets it. `isOffered` says whether anybody still wants that; when not,
    // this returns. Throws PlatformError when the clipboard cannot be had.
    virtual void offer(std::span<const std::byte> png, const std::function<bool()>& isOffered) = 0;
};

} // namespace glimto
