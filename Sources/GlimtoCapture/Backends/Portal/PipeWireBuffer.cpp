#include "Backends/Portal/PipeWireBuffer.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace glimto {

namespace {

// More than any screen needs.
constexpr std::size_t mostBytes = std::size_t{2} << 30U;

} // namespace

std::shared_ptr<MappedMemory> MappedMemory::map(int descriptor, std::size_t offset, std::size_t length)
{
    if (descriptor < 0 || length == 0 || length > mostBytes || offset > mostBytes)
        return nullptr;
    // The seal first: what is measured before it could still be cut off.
    if (const int seals = ::fcntl(descriptor, F_GET_SEALS); seals < 0 || (seals & F_SEAL_SHRINK) == 0)
        return nullptr;
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || status.st_size < 0
        || static_cast<std::uintmax_t>(status.st_size) < offset + length)
        return nullptr;
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const auto memory = std::make_shared<MappedMemory>();
    memory->offset_ = offset % page;
    memory->mapping_ = MemoryMapping(memory->offset_ + length, PROT_READ, MAP_SHARED, descriptor,
        static_cast<off_t>(offset - memory->offset_));
    return memory->mapping_ ? memory : nullptr;
}

bool PipeWireBuffer::read(std::size_t offset, std::span<std::uint8_t> target) const
{
    std::size_t done = 0;
    while (done < target.size()) {
        const ssize_t got = ::pread(descriptor, target.data() + done, target.size() - done,
            static_cast<off_t>(descriptorOffset + offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        done += static_cast<std::size_t>(got);
    }
    return true;
}

} // namespace glimto
