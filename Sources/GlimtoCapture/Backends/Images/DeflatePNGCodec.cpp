#include "Backends/Images/DeflatePNGCodec.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <string_view>

#include <libdeflate.h>
#include <spng.h>

#include "Backends/Images/PNGFilter.h"
#include "Backends/Images/ZlibStream.h"
#include "Platform/ErrorDomains.h"
#include "Platform/PNGCodec.h"
#include "Platform/PixelBuffer.h"
#include "Support/Errors.h"
#include "Support/Owned.h"

namespace glimto {

namespace {

constexpr std::size_t bytesPerPixel = 4;
// What a file may hold beside the picture, such as texts and colour profiles.
constexpr std::size_t largestExtraChunk = 4 << 20;
constexpr std::size_t mostExtraBytes = 16 << 20;
// Deflate makes at most 258 bytes of 2 bits.
constexpr std::size_t largestExpansion = 1'032;

constexpr std::size_t signatureSize = 8;
constexpr std::size_t chunkOverhead = 12; // length, type, checksum

std::uint32_t bigEndian(std::span<const std::byte> bytes)
{
    std::uint32_t value = 0;
    for (const std::byte byte : bytes.first(4))
        value = value << 8 | static_cast<std::uint32_t>(byte);
    return value;
}

// Whether the chunks reach to the end of the last one. libspng is content without that one's checksum.
bool isWhole(std::span<const std::byte> data)
{
    constexpr std::uint32_t lastType = 0x49454e44; // "IEND"
    std::size_t at = signatureSize;
    while (at < data.size() && data.size() - at >= chunkOverhead) {
        const std::size_t length = bigEndian(data.subspan(at));
        if (length > data.size() - at - chunkOverhead)
            return false;
        if (bigEndian(data.subspan(at + 4)) == lastType)
            return true;
        at += chunkOverhead + length;
    }
    return false;
}

std::size_t bitsPerPixel(const spng_ihdr& header)
{
    switch (header.color_type) {
    case SPNG_COLOR_TYPE_TRUECOLOR:
        return 3u * header.bit_depth;
    case SPNG_COLOR_TYPE_GRAYSCALE_ALPHA:
        return 2u * header.bit_depth;
    case SPNG_COLOR_TYPE_TRUECOLOR_ALPHA:
        return 4u * header.bit_depth;
    default:
        return header.bit_depth;
    }
}

// Whether `byteCount` bytes can hold so large a picture at all: a short file that declares a large picture
// must not cost a large memory.
bool canHold(const spng_ihdr& header, std::size_t byteCount)
{
    const std::size_t pixels = static_cast<std::size_t>(header.width) * header.height;
    return pixels <= PNGCodec::mostDecodedPixels
        && pixels * bitsPerPixel(header) / 8 / largestExpansion <= byteCount;
}

std::uint8_t overWhite(unsigned channel, unsigned alpha)
{
    return static_cast<std::uint8_t>((channel * alpha + 255 * (255 - alpha) + 127) / 255);
}

// RGBA becomes BGRX, in place.
void blendOverWhite(std::span<std::uint8_t> bytes)
{
    for (std::size_t at = 0; at < bytes.size(); at += bytesPerPixel) {
        std::uint8_t* pixel = bytes.data() + at;
        const std::uint8_t red = pixel[0];
        const std::uint8_t alpha = pixel[3];
        pixel[0] = overWhite(pixel[2], alpha);
        pixel[1] = overWhite(pixel[1], alpha);
        pixel[2] = overWhite(red, alpha);
        pixel[3] = 0xff;
    }
}

// Contract: PNGCodec::decode. Bytes behind the end of the picture are not looked at. May throw
// std::bad_alloc.
std::shared_ptr<const PixelBuffer> readPNG(std::span<const std::byte> data)
{
    if (!isWhole(data))
        return nullptr;
    const Owned<spng_ctx, spng_ctx_free> context(spng_ctx_new(0));
    spng_ihdr header{};
    if (!context
        || spng_set_image_limits(context.get(), PNGCodec::largestDecodedSide, PNGCodec::largestDecodedSide)
            != 0
        || spng_set_chunk_limits(context.get(), largestExtraChunk, mostExtraBytes) != 0
        || spng_set_png_buffer(context.get(), data.data(), data.size()) != 0
        || spng_get_ihdr(context.get(), &header) != 0 || !canHold(header, data.size()))
        return nullptr;
    const std::size_t bytesPerRow = bytesPerPixel * header.width;
    const std::size_t size = bytesPerRow * header.height;
    const std::shared_ptr<std::uint8_t[]> bytes(new std::uint8_t[size]);
    if (spng_decode_image(context.get(), bytes.get(), size, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) != 0)
        return nullptr;
    // Damage behind the picture counts as well.
    if (spng_decode_chunks(context.get()) != 0)
        return nullptr;
    blendOverWhite({bytes.get(), size});
    return std::make_shared<const PixelBuffer>(PixelBuffer{
        static_cast<int>(header.width), static_cast<int>(header.height), bytesPerRow, bytes.get(), bytes});
}

// A chunk's length is a signed 32-bit number.
constexpr std::size_t longestData = std::size_t{1} << 30;
constexpr std::array<std::uint8_t, 8> signature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};

using Bytes = std::span<const std::uint8_t>;

std::array<std::uint8_t, 4> bigEndian(std::uint32_t value)
{
    return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
        static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

void append(std::vector<std::byte>& file, Bytes bytes)
{
    const auto added = std::as_bytes(bytes);
    file.insert(file.end(), added.begin(), added.end());
}

void appendChunk(std::vector<std::byte>& file, std::string_view type, Bytes data)
{
    append(file, bigEndian(static_cast<std::uint32_t>(data.size())));
    const std::size_t checked = file.size();
    const auto typeBytes = std::as_bytes(std::span(type));
    file.insert(file.end(), typeBytes.begin(), typeBytes.end());
    append(file, data);
    append(file, bigEndian(libdeflate_crc32(0, file.data() + checked, file.size() - checked)));
}

std::array<std::uint8_t, 13> headerData(const PixelBuffer& pixels)
{
    std::array<std::uint8_t, 13> header{};
    std::ranges::copy(bigEndian(static_cast<std::uint32_t>(pixels.width)), header.begin());
    std::ranges::copy(bigEndian(static_cast<std::uint32_t>(pixels.height)), header.begin() + 4);
    header[8] = 8; // bits a channel
    header[9] = 2; // RGB
    return header; // deflate, the five filters, not interlaced: all 0
}

std::vector<std::byte> fileOf(const PixelBuffer& pixels, const std::vector<StreamPiece>& pieces)
{
    std::size_t size = signature.size() + 16 * chunkOverhead;
    for (const StreamPiece& piece : pieces)
        size += piece.size + chunkOverhead;
    std::vector<std::byte> file;
    file.reserve(size);
    append(file, signature);
    appendChunk(file, "IHDR", headerData(pixels));
    for (const Bytes piece : pieces) {
        for (std::size_t at = 0; at < piece.size(); at += longestData)
            appendChunk(file, "IDAT", piece.subspan(at, std::min(longestData, piece.size() - at)));
    }
    appendChunk(file, "IEND", {});
    return file;
}

} // namespace

std::vector<std::byte> DeflatePNGCodec::encode(const PixelBuffer& pixels)
{
    if (pixels.width < 1 || pixels.height < 1)
        throw PlatformError(errorDomain::png, -1, "An empty picture cannot be a PNG.");
    try {
        const PixelBuffer converted = inFormat(pixels, PixelFormat::xrgb8888);
        const PNGRows rows = makeRows(converted);
        return fileOf(pixels,
            zlibStream({.bytes = {rows.bytes.get(), rows.size},
                .rowSize = rows.rowSize,
                .fill
                = [&](std::size_t first, std::size_t end) { filterRows(converted, first, end, rows); }}));
    } catch (const std::bad_alloc&) {
        throw PlatformError(errorDomain::png, -1, "There is not enough memory to encode the picture.");
    }
}

std::shared_ptr<const PixelBuffer> DeflatePNGCodec::decode(std::span<const std::byte> data)
{
    try {
        return readPNG(data);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

} // namespace glimto
