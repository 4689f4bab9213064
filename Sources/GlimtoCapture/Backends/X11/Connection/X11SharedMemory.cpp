#include "Backends/X11/Connection/X11SharedMemory.h"

#include <cerrno>
#include <utility>

#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Support/FileDescriptor.h"

namespace glimto {

namespace {

// Only over a local socket do the server and this process surely run on the same machine.
bool isLocal(const X11Connection& connection)
{
    sockaddr_storage address = {};
    socklen_t length = sizeof address;
    return getsockname(connection.fileDescriptor(), reinterpret_cast<sockaddr*>(&address), &length) == 0
        && address.ss_family == AF_UNIX;
}

} // namespace

std::shared_ptr<X11SharedMemory> X11SharedMemory::make(X11Connection& connection, std::size_t size)
{
    if (!isLocal(connection) || !connection.hasExtension(xcb_shm_id))
        return makePlain(size);
    const auto version
        = connection.reply<xcb_shm_query_version_reply_t>(xcb_shm_query_version(connection.xcb()));
    const bool takesDescriptors = version
        && std::pair(version->major_version, version->minor_version)
            >= std::pair<std::uint16_t, std::uint16_t>(1, 2);
    std::shared_ptr<X11SharedMemory> memory;
    if (takesDescriptors)
        memory = makeByDescriptor(connection, size);
    if (!memory)
        memory = makeSystemV(connection, size);
    return memory ? memory : makePlain(size);
}

std::shared_ptr<X11SharedMemory> X11SharedMemory::makePlain(std::size_t size)
{
    std::shared_ptr<X11SharedMemory> memory(new X11SharedMemory(size));
    memory->mapped_ = MemoryMapping(size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1);
    if (!memory->mapped_)
        throw PlatformError::posix("Could not get memory for a picture", errno);
    return memory;
}

std::shared_ptr<X11SharedMemory> X11SharedMemory::makeByDescriptor(
    X11Connection& connection, std::size_t size)
{
    FileDescriptor file(memfd_create("glimto-picture", MFD_CLOEXEC));
    if (!file || ftruncate(file.get(), static_cast<off_t>(size)) != 0)
        return nullptr;
    std::shared_ptr<X11SharedMemory> memory(new X11SharedMemory(size));
    memory->mapped_ = MemoryMapping(size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get());
    if (!memory->mapped_)
        return nullptr;
    // xcb closes the descriptor that it is given.
    const int sent = dup(file.get());
    if (sent < 0)
        return nullptr;
    const xcb_shm_seg_t segment = xcb_generate_id(connection.xcb());
    if (connection.check(xcb_shm_attach_fd_checked(connection.xcb(), segment, sent, false)))
        return nullptr;
    memory->segment_ = segment;
    return memory;
}

std::shared_ptr<X11SharedMemory> X11SharedMemory::makeSystemV(X11Connection& connection, std::size_t size)
{
    const int id = shmget(IPC_PRIVATE, size, IPC_CREAT | 0600);
    if (id < 0)
        return nullptr;
    void* address = shmat(id, nullptr, 0);
    // From here on the memory lives as long as somebody has attached it, and nothing is left behind whatever
    // fails. The server may still attach it.
    shmctl(id, IPC_RMID, nullptr);
    if (address == reinterpret_cast<void*>(-1))
        return nullptr;
    std::shared_ptr<X11SharedMemory> memory(new X11SharedMemory(size));
    memory->systemV_.reset(static_cast<std::uint8_t*>(address));
    const xcb_shm_seg_t segment = xcb_generate_id(connection.xcb());
    if (connection.check(
            xcb_shm_attach_checked(connection.xcb(), segment, static_cast<std::uint32_t>(id), false)))
        return nullptr;
    memory->segment_ = segment;
    return memory;
}

} // namespace glimto
