#include "GlimtoTake/Media/OutputFile.h"

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Support/Errors.h"
#include "Support/FileDescriptor.h"
#include "Support/Text.h"

namespace glimto {

namespace {

namespace fs = std::filesystem;

// The type at the name's end stays, because libraries choose formats by it.
fs::path hiddenBeside(const fs::path& path)
{
    return path.parent_path()
        / ("." + path.stem().string() + "." + std::to_string(::getpid()) + ".tmp"
            + path.extension().string());
}

[[noreturn]] void throwExists(const fs::path& path)
{
    throw CLIError(singleLine(path.string()) + " exists already. Use --overwrite to replace it.");
}

[[noreturn]] void throwWriteError(const fs::path& path, int errorNumber)
{
    throw PlatformError::posix("Could not write " + path.string(), errorNumber);
}

} // namespace

OutputFile::OutputFile(fs::path path, ExistingFile existing)
    : path_(std::move(path))
    , temporaryPath_(hiddenBeside(path_))
    , existing_(existing)
    , removal_(temporaryPath_)
{
    std::error_code ignored;
    const auto status = fs::symlink_status(path_, ignored);
    if (fs::exists(status) && existing == ExistingFile::kept)
        throwExists(path_);
    if (fs::is_directory(status))
        throwWriteError(path_, EISDIR);
    const FileDescriptor file(
        ::open(temporaryPath_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0644));
    if (!file) {
        isCommitted_ = true; // not ours to remove
        throwWriteError(path_, errno);
    }
}

OutputFile::~OutputFile()
{
    if (!isCommitted_)
        ::unlink(temporaryPath_.c_str());
}

std::uint64_t OutputFile::commit()
{
    FileDescriptor file(::open(temporaryPath_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0 || ::fsync(file.get()) != 0)
        throwWriteError(path_, errno);
    if (existing_ == ExistingFile::kept && ::link(temporaryPath_.c_str(), path_.c_str()) == 0) {
        ::unlink(temporaryPath_.c_str());
    } else {
        // Not every file system has links.
        if (existing_ == ExistingFile::kept && errno == EEXIST)
            throwExists(path_);
        if (::rename(temporaryPath_.c_str(), path_.c_str()) != 0)
            throwWriteError(path_, errno);
    }
    isCommitted_ = true;
    return static_cast<std::uint64_t>(status.st_size);
}

} // namespace glimto
