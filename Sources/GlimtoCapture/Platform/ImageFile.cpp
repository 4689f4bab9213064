#include "Platform/ImageFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <span>
#include <string>
#include <system_error>

#include "Support/RegularFile.h"

namespace glimto {

namespace {

constexpr std::array<std::uint8_t, 8> signature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

// More than the pixels of the largest picture that is decoded, uncompressed.
constexpr std::size_t largestFile = std::size_t(1) << 30U; // bytes

std::string failure(const std::filesystem::path& path)
{
    return "Could not read the image at " + path.string();
}

bool beginsLikePNG(std::span<const std::byte> data)
{
    return data.size() >= signature.size()
        && std::equal(signature.begin(), signature.end(), data.begin(),
            [](std::uint8_t wanted, std::byte found) { return std::byte(wanted) == found; });
}

} // namespace

ImageFileKind imageFileKind(const std::filesystem::path& path)
{
    std::error_code ignored;
    switch (std::filesystem::status(path, ignored).type()) {
    case std::filesystem::file_type::regular:
        return ImageFileKind::regularFile;
    case std::filesystem::file_type::none:
    case std::filesystem::file_type::not_found:
        return ImageFileKind::none;
    default:
        return ImageFileKind::other;
    }
}

PlatformError notARegularFile(const std::filesystem::path& path)
{
    return {"POSIX", EINVAL, failure(path) + ": it is not a regular file."};
}

std::optional<std::vector<std::byte>> readPNGFile(const std::filesystem::path& path)
{
    const auto file = RegularFile::open(path, SymbolicLinks::followed, failure(path));
    if (!file)
        throw notARegularFile(path);
    if (file->size() < signature.size() || file->size() > largestFile)
        return std::nullopt;
    std::array<std::byte, signature.size()> beginning = {};
    if (file->read(beginning) < beginning.size() || !beginsLikePNG(beginning))
        return std::nullopt;
    std::vector<std::byte> data(static_cast<std::size_t>(file->size()));
    std::copy(beginning.begin(), beginning.end(), data.begin());
    data.resize(beginning.size() + file->read(std::span(data).subspan(beginning.size())));
    return data;
}

} // namespace glimto
