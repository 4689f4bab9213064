#pragma once

#include <cstddef>
#include <cstdint>

namespace glimto {

// What reopenedDeflateStream() may read and write behind the end of a stream.
inline constexpr std::size_t deflateTail = 16;

// Changes a whole deflate stream (RFC 1951), which ends in its last byte, into one that other blocks may
// follow: its last block becomes one of many, and an empty one brings the end to a whole byte. So pieces that
// were compressed beside each other become one stream.
//
// `bytes` has room for `deflateTail` bytes more. Returns the new size in bytes, or 0 when it is no such
// stream.
std::size_t reopenedDeflateStream(std::uint8_t* bytes, std::size_t size);

} // namespace glimto
