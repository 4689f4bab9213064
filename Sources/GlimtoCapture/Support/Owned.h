#pragma once

#include <memory>
#include <type_traits>

namespace glimto {

// Gives an object back with the function of the library that made it.
template <auto release> struct Releases {
    template <typename Object> void operator()(Object* object) const noexcept
    {
        if constexpr (std::is_invocable_v<decltype(release), Object*>)
            release(object);
        else
            release(&object);
    }
};

// Owns what a library made:
//
//     const Owned<spng_ctx, spng_ctx_free> context(spng_ctx_new(0));
//
// Functions that also set the caller's pointer to null do as well.
template <typename Object, auto release> using Owned = std::unique_ptr<Object, Releases<release>>;

} // namespace glimto
