#include "Support/FileBelow.h"

#include <cerrno>
#include <exception>
#include <string_view>
#include <utility>

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

bool FileBelow::isBeside(const FileBelow& other) const
{
    const auto folder = [](const FileBelow& file) {
        const auto end = file.name.rfind('/');
        return std::string_view(file.name).substr(0, end == std::string::npos ? 0 : end + 1);
    };
    return folder(*this) == folder(other) && directory == other.directory;
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

OpenedFile openForReading(const FileBelow& file)
{
    return FilesBelow().openForReading(file);
}

OpenedFile FilesBelow::openForReading(const FileBelow& file)
{
    FileDescriptor opened;
    try {
        opened = FileDescriptor(::openat(directoryOf(file).get(), file.lastName().c_str(),
            O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    } catch (const PlatformError& error) {
        throwReadError(file, static_cast<int>(error.code()));
    }
    struct stat status = {};
    if (!opened || ::fstat(opened.get(), &status) != 0)
        throwReadError(file, errno);
    if (!S_ISREG(status.st_mode))
        throwReadError(file, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    return {std::move(opened), static_cast<std::uintmax_t>(status.st_size)};
}

bool isRegularFile(const FileBelow& file) noexcept
{
    try {
        return static_cast<bool>(openForReading(file).descriptor);
    } catch (const std::exception&) {
        return false;
    }
}

std::optional<std::uintmax_t> FilesBelow::sizeOf(const FileBelow& file) noexcept
{
    try {
        struct stat status = {};
        const int directory = directoryOf(file).get();
        if (::fstatat(directory, file.lastName().c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0
            && S_ISREG(status.st_mode))
            return static_cast<std::uintmax_t>(status.st_size);
    } catch (const std::exception&) {
        // There is no way to it.
    }
    return std::nullopt;
}

const FileDescriptor& FilesBelow::directoryOf(const FileBelow& file)
{
    if (!directory_ || !file.isBeside(last_)) {
        directory_ = openDirectoryOf(file);
        last_ = file;
    }
    return directory_;
}

} // namespace glimto
