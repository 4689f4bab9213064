// PNG bytes through everything that reads them: whatever they are, reading ends, and a picture that was
// read is whole and can be written and read again.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "Backends/Images/DeflatePNGCodec.h"
#include "FuzzInput.h"
#include "Stills/ClipboardImageWriter.h"
#include "Support/Errors.h"

namespace {

using namespace glimto;

class EmptyPasteboard final : public Pasteboard {
public:
    std::optional<std::string> setPNG(std::span<const std::byte>) override { return std::nullopt; }
};

class NoOutput final : public LineOutput {
public:
    void writeLine(std::string_view) override { }
    void writeDocument(std::string_view) override { }
};

bool isAccepted(std::span<const std::byte> data, PNGCodec& codec)
{
    EmptyPasteboard pasteboard;
    NoOutput output;
    try {
        ClipboardImageWriter(codec, pasteboard, output).validatePNG(data, "fuzz.png");
        return true;
    } catch (const CLIError&) {
        return false;
    }
}

void requireSamePixels(const PixelBuffer& a, const PixelBuffer& b)
{
    require(a.width == b.width && a.height == b.height);
    for (int y = 0; y < a.height; ++y) {
        require(
            std::memcmp(a.bytes + static_cast<std::size_t>(y) * a.bytesPerRow,
                b.bytes + static_cast<std::size_t>(y) * b.bytesPerRow, 4 * static_cast<std::size_t>(a.width))
            == 0);
    }
}

void check(std::span<const std::byte> data)
{
    DeflatePNGCodec codec;
    const auto pixels = codec.decode(data);
    require(isAccepted(data, codec) == (pixels != nullptr));
    if (!pixels)
        return;
    require(pixels->width > 0 && pixels->width <= PNGCodec::largestDecodedSide);
    require(pixels->height > 0 && pixels->height <= PNGCodec::largestDecodedSide);
    const auto again = codec.decode(codec.encode(*pixels));
    require(again != nullptr);
    requireSamePixels(*pixels, *again);
}

std::uint32_t checksum(std::span<const std::byte> bytes)
{
    std::uint32_t value = 0xffffffff;
    for (const std::byte byte : bytes) {
        value ^= static_cast<std::uint32_t>(byte);
        for (int bit = 0; bit < 8; ++bit)
            value = value >> 1 ^ (value & 1 ? 0xedb88320 : 0);
    }
    return ~value;
}

// With the right checksum at every chunk: most changed files would get no further than to the first wrong
// one.
std::vector<std::byte> withChecksums(std::span<const std::byte> data)
{
    std::vector<std::byte> file(data.begin(), data.end());
    std::size_t at = 8;
    while (file.size() >= 12 && at <= file.size() - 12) {
        std::size_t length = 0;
        for (std::size_t index = 0; index < 4; ++index)
            length = length << 8 | static_cast<std::size_t>(file[at + index]);
        if (length > file.size() - at - 12)
            break;
        const auto sum = checksum(std::span(file).subspan(at + 4, length + 4));
        for (std::size_t index = 0; index < 4; ++index)
            file[at + 8 + length + index] = static_cast<std::byte>(sum >> (24 - 8 * index));
        at += 12 + length;
    }
    return file;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const auto data = std::as_bytes(std::span(bytes, size));
    check(data);
    check(withChecksums(data));
    return 0;
}
