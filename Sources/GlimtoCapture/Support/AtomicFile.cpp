#include "Support/AtomicFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <random>
#include <string>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

constexpr std::string_view temporaryEnd = ".tmp";
constexpr std::string_view digits = "0123456789abcdef";
constexpr std::size_t randomDigits = 16;

// Random, because process numbers repeat: in a container every run may have the same one.
std::string temporaryNameFor(const std::string& name)
{
    std::random_device random;
    std::array<unsigned char, randomDigits / 2> bytes;
    std::ranges::generate(bytes, std::ref(random));
    return ("." + name + "." + hexadecimal(bytes)).append(temporaryEnd);
}

} // namespace

AtomicFile::AtomicFile(FileBelow file, FileReaders readers)
    : AtomicFile(file, temporaryNameFor(file.lastName()), readers)
{
}

AtomicFile::AtomicFile(const std::filesystem::path& path)
    : AtomicFile(FileBelow::of(path))
{
}

AtomicFile::AtomicFile(FileBelow file, std::string temporaryName, FileReaders readers)
    : file_(std::move(file))
    , name_(file_.lastName())
    , temporaryName_(std::move(temporaryName))
{
    try {
        directory_ = openDirectoryOf(file_);
    } catch (const PlatformError& error) {
        fail(static_cast<int>(error.code()));
    }
    const mode_t mode = readers == FileReaders::owner ? 0600 : 0666;
    descriptor_ = FileDescriptor(::openat(directory_.get(), temporaryName_.c_str(),
        O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
    if (!descriptor_)
        fail(errno);
}

AtomicFile::~AtomicFile()
{
    if (!temporaryName_.empty()) {
        descriptor_.close();
        ::unlinkat(directory_.get(), temporaryName_.c_str(), 0);
    }
}

void AtomicFile::fail(int errorNumber) const
{
    throw PlatformError::posix("Could not write " + file_.path().string(), errorNumber);
}

void AtomicFile::write(std::span<const std::byte> data)
{
    if (!writeAll(descriptor_.get(), data))
        fail(errno);
    size_ += data.size();
}

void AtomicFile::finish()
{
    if (!descriptor_)
        return;
    if (::fsync(descriptor_.get()) != 0)
        fail(errno);
    if (const int errorNumber = descriptor_.close(); errorNumber != 0)
        fail(errorNumber);
}

void AtomicFile::commit()
{
    finish();
    if (::renameat(directory_.get(), temporaryName_.c_str(), directory_.get(), name_.c_str()) != 0)
        fail(errno);
    temporaryName_.clear();
}

void syncDirectory(const std::filesystem::path& directory)
{
    const FileDescriptor descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems have nothing to flush and say so.
    if (!descriptor || (::fsync(descriptor.get()) != 0 && errno != EINVAL && errno != ENOTSUP))
        throw PlatformError::posix("Could not flush " + directory.string(), errno);
}

std::optional<std::string> fileOfTemporary(std::string_view name)
{
    constexpr std::size_t endLength = 1 + randomDigits + temporaryEnd.size();
    if (name.size() < 2 + endLength || name.front() != '.' || !name.ends_with(temporaryEnd))
        return std::nullopt;
    const auto file = name.substr(1, name.size() - 1 - endLength);
    const auto number = name.substr(1 + file.size() + 1, randomDigits);
    if (name[1 + file.size()] != '.' || number.find_first_not_of(digits) != std::string_view::npos)
        return std::nullopt;
    return std::string(file);
}

void writeFileAtomically(const FileBelow& file, std::span<const std::byte> data, FileReaders readers)
{
    AtomicFile atomic(file, readers);
    atomic.write(data);
    atomic.commit();
}

void writeFileAtomically(const FileBelow& file, std::string_view text, FileReaders readers)
{
    writeFileAtomically(file, std::as_bytes(std::span(text.data(), text.size())), readers);
}

void writeFileAtomically(const std::filesystem::path& path, std::string_view text)
{
    writeFileAtomically(FileBelow::of(path), text);
}

} // namespace glimto
