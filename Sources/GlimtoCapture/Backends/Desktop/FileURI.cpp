#include "Backends/Desktop/FileURI.h"

#include <string_view>

namespace glimto {

std::string fileURI(const std::filesystem::path& path)
{
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result = "file://";
    for (const char letter : path.native()) {
        if (plain.find(letter) != std::string_view::npos) {
            result += letter;
            continue;
        }
        const auto byte = static_cast<unsigned char>(letter);
        result += '%';
        result += digits[byte >> 4U];
        result += digits[byte & 0x0FU];
    }
    return result;
}

} // namespace glimto
