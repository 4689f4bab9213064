#include "Backends/Tesseract/PictureFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <string>
#include <vector>

#include "Support/Errors.h"
#include "Support/RegularFile.h"

namespace glimto {

namespace {

constexpr std::array<std::uint8_t, 8> pngSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
// More than the largest picture takes without any compression.
constexpr std::uintmax_t largestFile = 1'000'000'000; // bytes

[[noreturn]] void throwUnreadable(const std::string& message)
{
    throw PlatformError("PNG", 0, message);
}

std::vector<std::byte> readWholeFile(const std::filesystem::path& path)
{
    const std::string failed = "Could not read the image at " + path.string();
    const auto file = RegularFile::open(path, SymbolicLinks::followed, failed);
    if (!file)
        throwUnreadable(failed + ": it is not a regular file.");
    if (file->size() > largestFile)
        throwUnreadable(failed + ": the file is too large.");
    std::vector<std::byte> bytes(static_cast<std::size_t>(file->size()));
    bytes.resize(file->read(bytes));
    return bytes;
}

std::uint32_t bigEndian(const std::byte* bytes)
{
    std::uint32_t value = 0;
    for (int index = 0; index < 4; ++index)
        value = value << 8 | std::to_integer<std::uint32_t>(bytes[index]);
    return value;
}

} // namespace

std::shared_ptr<const PixelBuffer> readPicture(const std::filesystem::path& path, PNGCodec& codec)
{
    const std::vector<std::byte> bytes = readWholeFile(path);
    const auto isPNG = bytes.size() >= pngSignature.size()
        && std::equal(pngSignature.begin(), pngSignature.end(), bytes.begin(),
            [](std::uint8_t expected, std::byte found) { return std::byte{expected} == found; });
    if (!isPNG)
        throwUnreadable("The image at " + path.string() + " is not a PNG.");

    // The header chunk comes first and begins with width and height (ISO/IEC 15948, 11.2.2).
    constexpr std::size_t widthPlace = 16;
    if (bytes.size() >= widthPlace + 8) {
        const std::uint64_t width = bigEndian(bytes.data() + widthPlace);
        const std::uint64_t height = bigEndian(bytes.data() + widthPlace + 4);
        if (width > PNGCodec::largestDecodedSide || height > PNGCodec::largestDecodedSide
            || width * height > PNGCodec::mostDecodedPixels)
            throwUnreadable("The image at " + path.string() + " is too large to be read: "
                + std::to_string(width) + "x" + std::to_string(height) + " pixels.");
    }
    auto picture = codec.decode(bytes);
    if (!picture || picture->width <= 0 || picture->height <= 0)
        throwUnreadable("The image at " + path.string() + " is damaged or incomplete.");
    return picture;
}

} // namespace glimto
