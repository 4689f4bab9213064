#include "Upload/BoundedFile.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Support/Errors.h"
#include "Support/FileDescriptor.h"

namespace glimto {

namespace {

[[noreturn]] void throwReadError(const std::filesystem::path& path, int errorNumber)
{
    throw PlatformError::posix("Could not read " + path.string(), errorNumber);
}

} // namespace

std::optional<std::string> readRegularFile(
    const std::filesystem::path& path, std::size_t mostBytes, SymbolicLinks links)
{
    // Never waits for somebody to write into a FIFO.
    const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | (links == SymbolicLinks::refused ? O_NOFOLLOW : 0);
    const FileDescriptor file(::open(path.c_str(), flags));
    if (!file && errno == ELOOP && links == SymbolicLinks::refused)
        return std::nullopt;
    if (!file)
        throwReadError(path, errno);
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
        throwReadError(path, errno);
    if (!S_ISREG(status.st_mode))
        return std::nullopt;

    std::string content;
    while (true) {
        constexpr std::size_t step = 64 << 10;
        const std::size_t size = content.size();
        content.resize(size + step);
        const ssize_t count = ::read(file.get(), content.data() + size, step);
        content.resize(size + static_cast<std::size_t>(count > 0 ? count : 0));
        if (count < 0 && errno != EINTR)
            throwReadError(path, errno);
        if (count == 0)
            return content;
        if (content.size() > mostBytes)
            throwReadError(path, EFBIG);
    }
}

} // namespace glimto
