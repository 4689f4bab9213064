#include "Support/RegularFile.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Support/Errors.h"

namespace glimto {

namespace {

// Calls `read` for the rest of `target`, behind what was filled before, until nothing more comes.
template <typename Read>
std::size_t fill(std::span<std::byte> target, const std::string& failure, const Read& read)
{
    std::size_t filled = 0;
    while (filled < target.size()) {
        const ssize_t count = read(target.subspan(filled), filled);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw PlatformError::posix(failure, errno);
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    return filled;
}

} // namespace

RegularFile::RegularFile(FileDescriptor file, std::uintmax_t size, std::string failure)
    : file_(std::move(file))
    , size_(size)
    , failure_(std::move(failure))
{
}

std::optional<RegularFile> RegularFile::open(
    const std::filesystem::path& path, SymbolicLinks links, std::string failure)
{
    if (failure.empty())
        failure = "Could not read " + path.string();
    const int noLinks = links == SymbolicLinks::refused ? O_NOFOLLOW : 0;
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | noLinks));
    if (!file && errno == ELOOP && links == SymbolicLinks::refused)
        return std::nullopt;
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0)
        throw PlatformError::posix(failure, errno);
    if (!S_ISREG(status.st_mode))
        return std::nullopt;
    const auto size = static_cast<std::uintmax_t>(std::max<off_t>(status.st_size, 0));
    return RegularFile(std::move(file), size, std::move(failure));
}

RegularFile RegularFile::open(const FileBelow& file)
{
    FilesBelow files;
    return open(file, files);
}

RegularFile RegularFile::open(const FileBelow& file, FilesBelow& files)
{
    auto [descriptor, size] = files.openForReading(file);
    return {std::move(descriptor), size, "Could not read " + file.path().string()};
}

std::size_t RegularFile::read(std::span<std::byte> target) const
{
    return fill(target, failure_, [this](std::span<std::byte> rest, std::size_t) {
        return ::read(file_.get(), rest.data(), rest.size());
    });
}

std::size_t RegularFile::readAt(std::uintmax_t offset, std::span<std::byte> target) const
{
    return fill(target, failure_, [&](std::span<std::byte> rest, std::size_t filled) {
        return ::pread(file_.get(), rest.data(), rest.size(), static_cast<off_t>(offset + filled));
    });
}

std::string RegularFile::readText(std::size_t mostBytes) const
{
    constexpr std::size_t step = 64U << 10U;
    std::string text;
    while (text.size() < mostBytes) {
        const std::size_t before = text.size();
        text.resize(std::min(before + step, mostBytes));
        const std::size_t wanted = text.size() - before;
        const std::size_t count = read(std::as_writable_bytes(std::span(text).subspan(before)));
        text.resize(before + count);
        if (count < wanted)
            break;
    }
    return text;
}

std::string RegularFile::readWhole(std::size_t mostBytes) const
{
    auto text = readText(mostBytes + 1);
    if (text.size() > mostBytes)
        throw PlatformError::posix(failure_, EFBIG);
    return text;
}

std::optional<std::string> readRegularFile(
    const std::filesystem::path& path, std::size_t mostBytes, SymbolicLinks links)
{
    const auto file = RegularFile::open(path, links);
    if (!file)
        return std::nullopt;
    return file->readWhole(mostBytes);
}

std::string readFile(const FileBelow& file, std::size_t mostBytes)
{
    return RegularFile::open(file).readWhole(mostBytes);
}

} // namespace glimto
