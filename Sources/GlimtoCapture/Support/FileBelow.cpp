#include "Support/FileBelow.h"

#include <cerrno>
#include <exception>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Support/Errors.h"

namespace glimto {

namespace {

[[noreturn]] void throwReadError(const FileBelow& file, int errorNumber)
{
    throw PlatformError::posix("Could not read " + file.path().string(), errorNumber);
}

} // namespace

FileBelow FileBelow::of(const std::filesystem::path& path)
{
    return {path.parent_path(), path.filename().string()};
}

std::string FileBelow::lastName() const
{
    return name.substr(name.rfind('/') + 1);
}

FileDescriptor openDirectoryOf(const FileBelow& file)
{
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    const auto& start = file.directory.native();
    FileDescriptor directory(::open(start.empty() ? "." : start.c_str(), flags));
    std::size_t begin = 0;
    for (std::size_t end = 0; directory && (end = file.name.find('/', begin)) != std::string::npos;
         begin = end + 1) {
        const std::string piece = file.name.substr(begin, end - begin);
        directory = FileDescriptor(::openat(directory.get(), piece.c_str(), flags | O_NOFOLLOW));
    }
    if (!directory)
        throw PlatformError::posix("Could not open " + file.path().string(), errno);
    return directory;
}

FileDescriptor openForReading(const FileBelow& file)
{
    FileDescriptor opened;
    try {
        const FileDescriptor directory = openDirectoryOf(file);
        opened = FileDescriptor(::openat(
            directory.get(), file.lastName().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    } catch (const PlatformError& error) {
        throwReadError(file, static_cast<int>(error.code()));
    }
    struct stat status = {};
    if (!opened || ::fstat(opened.get(), &status) != 0)
        throwReadError(file, errno);
    if (!S_ISREG(status.st_mode))
        throwReadError(file, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    return opened;
}

bool isRegularFile(const FileBelow& file) noexcept
{
    try {
        return static_cast<bool>(openForReading(file));
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace glimto
