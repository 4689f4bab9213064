#include "Stills/ImageFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <span>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Support/FileDescriptor.h"

namespace glimto {

namespace {

constexpr std::array<std::uint8_t, 8> signature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

// More than the pixels of the largest picture that is decoded, uncompressed.
constexpr std::size_t largestFile = std::size_t(1) << 30U; // bytes

std::string failure(const std::filesystem::path& path)
{
    return "Could not read the image at " + path.string();
}

[[noreturn]] void throwReadError(const std::filesystem::path& path, int errorNumber)
{
    throw PlatformError::posix(failure(path), errorNumber);
}

// Fills `target` as far as the file reaches. Returns how many bytes that were.
std::size_t readFully(
    const FileDescriptor& file, std::span<std::byte> target, const std::filesystem::path& path)
{
    std::size_t filled = 0;
    while (filled < target.size()) {
        const ssize_t count = ::read(file.get(), target.data() + filled, target.size() - filled);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throwReadError(path, errno);
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    return filled;
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
    // Opening a FIFO would wait for its writer otherwise.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!file)
        throwReadError(path, errno);
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
        throwReadError(path, errno);
    if (!S_ISREG(status.st_mode))
        throw notARegularFile(path);
    const auto size = static_cast<std::uintmax_t>(status.st_size);
    if (size < signature.size() || size > largestFile)
        return std::nullopt;

    std::array<std::byte, signature.size()> beginning = {};
    if (readFully(file, beginning, path) < beginning.size() || !beginsLikePNG(beginning))
        return std::nullopt;
    std::vector<std::byte> data(static_cast<std::size_t>(size));
    const auto rest = std::span(data).subspan(beginning.size());
    std::copy(beginning.begin(), beginning.end(), data.begin());
    data.resize(beginning.size() + readFully(file, rest, path));
    return data;
}

} // namespace glimto
