#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace glimto {

inline std::vector<std::byte> bytesOf(std::string_view text)
{
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

inline std::string textOf(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline std::uint64_t numberAt(std::string_view bytes, std::size_t position, std::size_t byteCount = 4)
{
    std::uint64_t value = 0;
    for (const char byte : bytes.substr(position, byteCount))
        value = value << 8U | static_cast<std::uint8_t>(byte);
    return value;
}

// The content of the first box of that type; nothing when there is none.
inline std::string_view boxIn(std::string_view bytes, std::string_view type)
{
    while (bytes.size() >= 8) {
        const std::uint64_t size = numberAt(bytes, 0);
        if (size < 8 || size > bytes.size())
            break;
        if (bytes.substr(4, 4) == type)
            return bytes.substr(8, size - 8);
        bytes.remove_prefix(size);
    }
    return {};
}

// The content of a box within a box within a box.
inline std::string_view boxIn(std::string_view bytes, std::initializer_list<std::string_view> path)
{
    for (const std::string_view type : path)
        bytes = boxIn(bytes, type);
    return bytes;
}

// The types of the boxes one after another, with a blank between; "?" when they do not fill `bytes`.
inline std::string boxTypes(std::string_view bytes)
{
    std::string types;
    while (!bytes.empty()) {
        const std::uint64_t size = bytes.size() < 8 ? 0 : numberAt(bytes, 0);
        if (size < 8 || size > bytes.size())
            return types + "?";
        types += (types.empty() ? "" : " ") + std::string(bytes.substr(4, 4));
        bytes.remove_prefix(size);
    }
    return types;
}

} // namespace glimto
