#pragma once

#include <memory>

struct Pix;
struct Boxa;

namespace glimto {

struct LeptonicaDeleter {
    void operator()(Pix* picture) const noexcept;
    void operator()(Boxa* boxes) const noexcept;
};

using PixHandle = std::unique_ptr<Pix, LeptonicaDeleter>;
using BoxaHandle = std::unique_ptr<Boxa, LeptonicaDeleter>;

// What the library made. Throws std::bad_alloc for null.
PixHandle owned(Pix* picture);

} // namespace glimto
