#include "GlimtoTake/Takes/Fragments.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Support/Errors.h"
#include "Support/FileDescriptor.h"

namespace glimto {

namespace {

struct Box {
    std::string_view type;
    std::uint64_t size = 0; // header included
};

std::uint64_t bigEndian(const unsigned char* bytes, int count)
{
    std::uint64_t value = 0;
    for (int at = 0; at < count; ++at)
        value = value << 8U | bytes[at];
    return value;
}

std::string_view knownType(std::string_view type)
{
    for (const std::string_view known :
        {"styp", "sidx", "ssix", "prft", "emsg", "moof", "mdat", "free", "skip"}) {
        if (type == known)
            return known;
    }
    return {};
}

// How many bytes there were for `target`; what cannot be read is not there.
std::size_t readAt(int file, std::uint64_t offset, std::span<unsigned char> target)
{
    std::size_t filled = 0;
    while (filled < target.size()) {
        const ssize_t count = ::pread(
            file, target.data() + filled, target.size() - filled, static_cast<off_t>(offset + filled));
        if (count == 0 || (count < 0 && errno != EINTR))
            break;
        filled += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return filled;
}

// The box at `offset`; absent when none that a segment has lies there as a whole.
std::optional<Box> boxAt(int file, std::uint64_t offset, std::uint64_t fileSize)
{
    std::array<unsigned char, 16> header = {};
    const std::size_t count = readAt(file, offset, header);
    if (count < 8)
        return std::nullopt;
    Box box;
    box.type = knownType({reinterpret_cast<const char*>(header.data()) + 4, 4});
    box.size = bigEndian(header.data(), 4);
    std::uint64_t smallest = 8;
    if (box.size == 1) { // the size is 64 bits wide and stands behind the type
        smallest = 16;
        if (count < 16)
            return std::nullopt;
        box.size = bigEndian(header.data() + 8, 8);
    }
    if (box.type.empty() || box.size < smallest || box.size > fileSize - offset)
        return std::nullopt;
    return box;
}

using Bytes = std::span<const unsigned char>;

constexpr std::uint64_t largestHead = std::uint64_t{64} << 20U; // of a fragment; some 4 million samples

// The number of four bytes at `offset`, 0 behind the end.
std::uint32_t numberAt(Bytes bytes, std::size_t offset)
{
    if (offset > bytes.size() || bytes.size() - offset < 4)
        return 0;
    return static_cast<std::uint32_t>(bigEndian(bytes.data() + offset, 4));
}

// The content of the last box of that type among the boxes that `bytes` consist of; empty without one.
Bytes lastBoxIn(Bytes bytes, std::string_view type)
{
    constexpr std::size_t headerBytes = 8;
    Bytes found;
    while (bytes.size() >= headerBytes) {
        const std::size_t size = numberAt(bytes, 0);
        if (size < headerBytes || size > bytes.size())
            break;
        if (std::string_view(reinterpret_cast<const char*>(bytes.data()) + 4, 4) == type)
            found = bytes.subspan(headerBytes, size - headerBytes);
        bytes = bytes.subspan(size);
    }
    return found;
}

// Of the track run (ISO/IEC 14496-12 section 8.8.8), else of the fragment's header (8.8.7).
std::uint32_t lastDurationIn(Bytes head)
{
    constexpr std::uint32_t hasDurations = 0x100;
    const Bytes fragment = lastBoxIn(head, "traf");
    const Bytes run = lastBoxIn(fragment, "trun");
    const std::uint32_t flags = numberAt(run, 0);
    const std::size_t count = numberAt(run, 4);
    if (count == 0)
        return 0;
    if ((flags & hasDurations) != 0) {
        const std::size_t first = 8 + 4 * static_cast<std::size_t>(std::popcount(flags & 0x5U));
        const std::size_t sampleBytes = 4 * static_cast<std::size_t>(std::popcount(flags & 0xF00U));
        return numberAt(run, first + sampleBytes * (count - 1));
    }
    const Bytes header = lastBoxIn(fragment, "tfhd");
    const std::uint32_t headerFlags = numberAt(header, 0);
    if ((headerFlags & 0x8U) == 0)
        return 0;
    return numberAt(header, 8 + ((headerFlags & 1U) != 0 ? 8U : 0U) + ((headerFlags & 2U) != 0 ? 4U : 0U));
}

std::uint32_t lastDuration(int file, std::uint64_t offset, std::uint64_t size)
{
    if (size > largestHead)
        return 0;
    std::vector<unsigned char> head(static_cast<std::size_t>(size));
    return readAt(file, offset, head) == head.size() ? lastDurationIn(lastBoxIn(head, "moof")) : 0;
}

} // namespace

FragmentExtent fragmentExtent(const std::filesystem::path& segment)
{
    const FileDescriptor file(::open(segment.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0)
        throw PlatformError::posix("Could not read " + segment.string(), errno);
    const auto size = static_cast<std::uint64_t>(status.st_size);
    FragmentExtent extent;
    bool hasHead = false;
    std::uint64_t headOffset = 0;
    std::uint64_t headSize = 0;
    std::uint64_t lastHeadOffset = 0;
    std::uint64_t lastHeadSize = 0;
    std::uint64_t offset = 0;
    while (offset < size) {
        const auto box = boxAt(file.get(), offset, size);
        if (!box)
            break;
        if (box->type == "moof") {
            hasHead = true;
            headOffset = offset;
            headSize = box->size;
        }
        offset += box->size;
        if (box->type == "mdat" && hasHead) {
            hasHead = false;
            extent.wholeBytes = offset;
            extent.fragmentCount += 1;
            lastHeadOffset = headOffset;
            lastHeadSize = headSize;
        }
    }
    extent.lastSampleDuration = lastDuration(file.get(), lastHeadOffset, lastHeadSize);
    extent.isWhole = extent.fragmentCount > 0 && extent.wholeBytes == size;
    return extent;
}

} // namespace glimto
