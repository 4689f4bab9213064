#include "Backends/Images/ZlibStream.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <limits>
#include <new>
#include <optional>
#include <thread>

#include <libdeflate.h>
#include <zlib.h>

#include "Backends/Images/DeflateEnd.h"
#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"
#include "Support/Owned.h"
#include "Support/SerialQueue.h"

namespace glimto {

namespace {

// Measured on pictures of desktops: level 1 is slower on flat areas and larger on text, level 3 costs a sixth
// more for one or two per cent, levels above 4 far more than they save.
constexpr int compressionLevel = 2;
// The rows of a full HD picture are one piece: a second thread would help it little and cost a little.
constexpr std::size_t leastPiece = std::size_t{6} << 20;
constexpr std::size_t mostThreads = 4;

constexpr std::array<std::uint8_t, 2> streamHeader = {0x78, 0x01}; // deflate, 32 kB, fastest
constexpr std::size_t checksumSize = 4;

using Bytes = std::span<const std::uint8_t>;
using Compressor = Owned<libdeflate_compressor, libdeflate_free_compressor>;

PlatformError failure()
{
    return PlatformError(errorDomain::png, -1, "The PNG encoder failed.");
}

// One end of a piece holds more than its data.
struct Place {
    bool isFirst = false;
    bool isLast = false;

    std::size_t before() const { return isFirst ? streamHeader.size() : 0; }
};

// Uninitialised, so that memory that stays unused is never taken.
StreamPiece makePiece(const Place& place, std::size_t bound)
{
    StreamPiece piece;
    piece.bytes.reset(new std::uint8_t[streamHeader.size() + bound + deflateTail + checksumSize]);
    if (place.isFirst)
        std::ranges::copy(streamHeader, piece.bytes.get());
    return piece;
}

// How many bytes codes without repetitions would take, at least: by the frequency of each byte, in stretches
// as long as zlib's blocks.
double codedSize(Bytes data)
{
    constexpr std::size_t stretch = 16 << 10;
    constexpr double codesOfBlock = 100; // bytes
    double size = 0;
    for (std::size_t start = 0; start < data.size(); start += stretch) {
        const Bytes part = data.subspan(start, std::min(stretch, data.size() - start));
        std::array<std::uint32_t, 256> counts{};
        for (const std::uint8_t value : part)
            ++counts[value];
        double bits = 0;
        for (const std::uint32_t count : counts) {
            if (count > 0)
                bits -= count * std::log2(static_cast<double>(count) / static_cast<double>(part.size()));
        }
        size += std::min(bits / 8 + codesOfBlock, static_cast<double>(part.size()));
    }
    return size;
}

// Whether it is not worth it to look for what repeats, by some samples.
bool hardlyRepeats(libdeflate_compressor* compressor, Bytes data)
{
    constexpr std::size_t sample = 48 << 10; // some rows
    constexpr std::size_t sampleCount = 4;
    if (data.size() < 4 * sample * sampleCount || data.size() > std::numeric_limits<uInt>::max())
        return false;
    const std::size_t bound = libdeflate_deflate_compress_bound(compressor, sample);
    const std::unique_ptr<std::uint8_t[]> scratch(new std::uint8_t[bound]);
    double coded = 0;
    double compressed = 0;
    for (std::size_t index = 0; index < sampleCount; ++index) {
        // In the middle of each quarter.
        const Bytes part
            = data.subspan((2 * index + 1) * data.size() / (2 * sampleCount) - sample / 2, sample);
        coded += codedSize(part);
        compressed += static_cast<double>(
            libdeflate_deflate_compress(compressor, part.data(), part.size(), scratch.get(), bound));
        // Most of what repeats shows at once.
        if (compressed < coded / 2)
            return false;
    }
    // Of a byte that says little, as in smooth areas, a code takes at least one bit, while repetitions take
    // all of them at once; a sample also shows too few of these.
    constexpr double leastShare = 0.3;
    return coded >= leastShare * sample * sampleCount && coded <= compressed;
}

struct ZlibEnd {
    z_stream& stream;
    ~ZlibEnd() { deflateEnd(&stream); }
};

// Shorter codes for frequent bytes and nothing else.
StreamPiece codedPiece(Bytes data, const Place& place)
{
    constexpr int fullWindow = 15;
    constexpr int mostMemory = 9;
    z_stream stream{};
    // Negative: without header and checksum.
    if (deflateInit2(&stream, 1, Z_DEFLATED, -fullWindow, mostMemory, Z_HUFFMAN_ONLY) != Z_OK)
        throw std::bad_alloc();
    const ZlibEnd end{stream};
    const std::size_t bound = deflateBound(&stream, data.size());
    StreamPiece piece = makePiece(place, bound);
    stream.next_in = const_cast<Bytef*>(data.data()); // which zlib does not change
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = piece.bytes.get() + place.before();
    stream.avail_out
        = static_cast<uInt>(std::min<std::size_t>(bound + deflateTail, std::numeric_limits<uInt>::max()));
    const int result = deflate(&stream, place.isLast ? Z_FINISH : Z_SYNC_FLUSH);
    if (result != (place.isLast ? Z_STREAM_END : Z_OK) || stream.avail_in > 0 || stream.avail_out == 0)
        throw failure();
    piece.size = place.before() + stream.total_out;
    return piece;
}

StreamPiece compressedPiece(Bytes data, const Place& place)
{
    const Compressor compressor(libdeflate_alloc_compressor(compressionLevel));
    if (!compressor)
        throw std::bad_alloc();
    if (hardlyRepeats(compressor.get(), data))
        return codedPiece(data, place);
    const std::size_t bound = libdeflate_deflate_compress_bound(compressor.get(), data.size());
    StreamPiece piece = makePiece(place, bound);
    std::uint8_t* const bytes = piece.bytes.get() + place.before();
    std::size_t size = libdeflate_deflate_compress(compressor.get(), data.data(), data.size(), bytes, bound);
    if (size > 0 && !place.isLast)
        size = reopenedDeflateStream(bytes, size);
    if (size == 0)
        throw failure();
    piece.size = place.before() + size;
    return piece;
}

// One piece and the checksum of its data, made on whichever thread.
struct PieceTask {
    const RowData& rows;
    std::size_t first = 0; // row
    std::size_t end = 0;
    Place place;
    StreamPiece piece = {};
    std::uint32_t checksum = 1;
    std::exception_ptr error = nullptr;

    Bytes data() const { return rows.bytes.subspan(first * rows.rowSize, (end - first) * rows.rowSize); }

    void run() noexcept
    {
        try {
            if (rows.fill)
                rows.fill(first, end);
            const Bytes data = this->data();
            piece = compressedPiece(data, place);
            checksum = libdeflate_adler32(1, data.data(), data.size());
        } catch (...) {
            error = std::current_exception();
        }
    }
};

// The first row of a piece. To reopen a stream takes a third of the time of its compression, so the last
// piece, which stays closed, is larger.
std::size_t beginOf(std::size_t index, std::size_t pieceCount, std::size_t rowCount)
{
    if (index == pieceCount)
        return rowCount;
    return rowCount * 3 * index / (3 * (pieceCount - 1) + 4);
}

// The first ones on threads of their own, the last one here. Without threads to be had, all here.
void runAll(std::vector<PieceTask>& tasks)
{
    std::vector<std::unique_ptr<SerialQueue>> queues;
    for (std::size_t index = 0; index + 1 < tasks.size(); ++index) {
        try {
            queues.push_back(std::make_unique<SerialQueue>("glimto.capture.png"));
            queues.back()->post([&task = tasks[index]] { task.run(); });
        } catch (const PlatformError&) {
            tasks[index].run();
        }
    }
    tasks.back().run();
}

} // namespace

std::vector<StreamPiece> zlibStream(const RowData& rows, std::size_t pieceCount)
{
    const std::size_t rowCount = rows.bytes.size() / rows.rowSize;
    std::vector<PieceTask> tasks;
    for (std::size_t index = 0; index < pieceCount; ++index)
        tasks.push_back({.rows = rows,
            .first = beginOf(index, pieceCount, rowCount),
            .end = beginOf(index + 1, pieceCount, rowCount),
            .place = {.isFirst = index == 0, .isLast = index + 1 == pieceCount}});
    runAll(tasks);
    std::vector<StreamPiece> pieces;
    uLong checksum = 1;
    for (PieceTask& task : tasks) {
        if (task.error)
            std::rethrow_exception(task.error);
        checksum = adler32_combine(checksum, task.checksum, static_cast<z_off_t>(task.data().size()));
        pieces.push_back(std::move(task.piece));
    }
    StreamPiece& last = pieces.back();
    for (unsigned shift = 32; shift > 0; shift -= 8)
        last.bytes[last.size++] = static_cast<std::uint8_t>(checksum >> (shift - 8));
    return pieces;
}

std::vector<StreamPiece> zlibStream(const RowData& rows)
{
    const std::size_t threads = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, mostThreads);
    return zlibStream(rows, std::clamp<std::size_t>(rows.bytes.size() / leastPiece, 1, threads));
}

} // namespace glimto
