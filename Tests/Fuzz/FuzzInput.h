#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

// What every fuzz target needs. A target is one source file with LLVMFuzzerTestOneInput, which takes any
// bytes.

namespace glimto {

// Ends the program, which the fuzzer takes for a find.
inline void require(bool condition)
{
    if (!condition)
        std::abort();
}

inline std::string_view fuzzText(const std::uint8_t* bytes, std::size_t size)
{
    return {reinterpret_cast<const char*>(bytes), size};
}

} // namespace glimto
