#include "Backends/Images/DeflatePNGCodec.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <string_view>

#include <libdeflate.h>

#include "Backends/Images/PNGFilter.h"
#include "Backends/Images/PNGReader.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

// Measured on pictures of desktops: level 1 is slower on flat areas and larger on text, levels above 4
// cost far more than they save.
constexpr int compressionLevel = 3;
// A chunk's length is a signed 32-bit number.
constexpr std::size_t longestData = std::size_t{1} << 30;
constexpr std::array<std::uint8_t, 8> signature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
constexpr std::size_t chunkOverhead = 12; // length, type, checksum

struct CompressorDeleter {
    void operator()(libdeflate_compressor* compressor) const noexcept
    {
        libdeflate_free_compressor(compressor);
    }
};

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

struct Compressed {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t size = 0;
};

Compressed compressed(const PNGRows& rows)
{
    const std::unique_ptr<libdeflate_compressor, CompressorDeleter> compressor(
        libdeflate_alloc_compressor(compressionLevel));
    if (!compressor)
        throw std::bad_alloc();
    const std::size_t bound = libdeflate_zlib_compress_bound(compressor.get(), rows.size);
    Compressed result;
    // Uninitialised, so that memory that stays unused is never taken.
    result.bytes.reset(new std::uint8_t[bound]);
    result.size
        = libdeflate_zlib_compress(compressor.get(), rows.bytes.get(), rows.size, result.bytes.get(), bound);
    if (result.size == 0)
        throw PlatformError("PNG", -1, "The PNG encoder failed.");
    return result;
}

std::vector<std::byte> fileOf(const PixelBuffer& pixels, Bytes data)
{
    std::vector<std::byte> file;
    file.reserve(data.size() + signature.size() + 16 * chunkOverhead);
    append(file, signature);
    appendChunk(file, "IHDR", headerData(pixels));
    for (std::size_t at = 0; at < data.size(); at += longestData)
        appendChunk(file, "IDAT", data.subspan(at, std::min(longestData, data.size() - at)));
    appendChunk(file, "IEND", {});
    return file;
}

} // namespace

std::vector<std::byte> DeflatePNGCodec::encode(const PixelBuffer& pixels)
{
    if (pixels.width < 1 || pixels.height < 1)
        throw PlatformError("PNG", -1, "An empty picture cannot be a PNG.");
    try {
        const Compressed data = compressed(filteredRows(inFormat(pixels, PixelFormat::xrgb8888)));
        return fileOf(pixels, {data.bytes.get(), data.size});
    } catch (const std::bad_alloc&) {
        throw PlatformError("PNG", -1, "There is not enough memory to encode the picture.");
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
