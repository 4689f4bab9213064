#include "Stills/ScreenshotFile.h"

#include <exception>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "Stills/ScreenshotFailure.h"
#include "Support/AtomicFile.h"
#include "Support/Paths.h"
#include "Support/RemovedOnSignal.h"
#include "Support/UUID.h"

namespace glimto {

namespace {

namespace fs = std::filesystem;

// Whether `path` is one of the names that systems have for files which a process has open, such as
// /dev/stdout.
bool isNameOfOpenFile(const fs::path& path)
{
    constexpr int mostLinks = 40;
    std::error_code error;
    fs::path place = fs::absolute(path, error);
    for (int count = 0; count < mostLinks && fs::is_symlink(place, error); ++count) {
        const fs::path directory = fs::weakly_canonical(place.parent_path(), error);
        const std::string name = (directory / place.filename()).string();
        if (name.starts_with("/dev/") || name.starts_with("/proc/"))
            return true;
        place = directory / fs::read_symlink(place, error);
    }
    return false;
}

// What stands at `path` or is linked there, if it is nothing that a picture may replace: who may write
// anywhere would take /dev/null from everybody else.
std::optional<std::string> irreplaceable(const fs::path& path)
{
    std::error_code ignored;
    switch (fs::status(path, ignored).type()) {
    case fs::file_type::fifo:
        return "a pipe";
    case fs::file_type::socket:
        return "a socket";
    case fs::file_type::character:
    case fs::file_type::block:
        return "a device";
    default:
        break;
    }
    if (isNameOfOpenFile(path))
        return "a file that is open";
    return std::nullopt;
}

PlatformError noDestination(const std::filesystem::path& path)
{
    return screenshotError(
        ScreenshotFailure::noDestination, "Could not create PNG destination at " + path.string());
}

// Its length does not depend on the final name, which may be as long as the file system allows.
std::filesystem::path temporaryPathFor(const std::filesystem::path& path)
{
    return path.parent_path() / (".glimto-screenshot-" + makeUUID() + ".tmp");
}

} // namespace

ScreenshotFile::ScreenshotFile(PNGCodec& codec, LineOutput& standardError)
    : codec_(codec)
    , standardError_(standardError)
{
}

void ScreenshotFile::writePNG(const PixelBuffer& image, const std::filesystem::path& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        throw screenshotError(
            ScreenshotFailure::outputIsDirectory, "Screenshot output path is a directory: " + path.string());
    if (const auto what = irreplaceable(path)) {
        standardError_.writeLine("warning: " + path.string() + " is " + *what + ", which is not replaced.");
        throw noDestination(path);
    }
    if (const auto directory = path.parent_path(); !directory.empty())
        makeDirectories(directory);
    std::vector<std::byte> data;
    try {
        data = codec_.encode(image);
    } catch (const std::exception& error) {
        failToFinalize(error, path);
    }

    const auto temporaryPath = temporaryPathFor(path);
    const RemovedOnSignal guard(temporaryPath);
    std::optional<AtomicFile> file;
    try {
        file.emplace(FileBelow::of(path), temporaryPath.filename().string());
    } catch (const PlatformError& error) {
        standardError_.writeLine("warning: " + std::string(error.what()));
        throw noDestination(path);
    }
    try {
        file->write(data);
        file->finish();
    } catch (const PlatformError& error) {
        failToFinalize(error, path);
    }
    file->commit();
}

void ScreenshotFile::failToFinalize(const std::exception& cause, const std::filesystem::path& path)
{
    standardError_.writeLine("warning: " + std::string(cause.what()));
    throw screenshotError(ScreenshotFailure::notFinalized, "Could not finalize PNG at " + path.string());
}

std::int64_t fileSize(const std::filesystem::path& path)
{
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (error)
        throw PlatformError::posix("Could not read the size of " + path.string(), error.value());
    return static_cast<std::int64_t>(size);
}

} // namespace glimto
