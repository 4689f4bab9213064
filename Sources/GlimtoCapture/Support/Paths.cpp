#include "Support/Paths.h"

#include <system_error>

#include "Support/Errors.h"

namespace glimto {

namespace fs = std::filesystem;

bool stands(const fs::path& path)
{
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

fs::path absolutePath(const fs::path& path)
{
    std::error_code error;
    auto absolute = path.is_absolute() ? path : fs::current_path(error) / path;
    if (error)
        throw PlatformError::posix("Could not find the working directory", error.value());
    return absolute;
}

fs::path standardizedPath(const fs::path& path)
{
    std::error_code error;
    const fs::path absolute = absolutePath(path);
    fs::path result = absolute.root_path();
    for (const auto& part : absolute.relative_path()) {
        if (part.empty() || part == ".")
            continue;
        if (part != "..") {
            result /= part;
            continue;
        }
        const bool isLink = fs::is_symlink(fs::symlink_status(result, error));
        const fs::path target = isLink ? fs::canonical(result, error) : result;
        result = isLink && error ? result / part : target.parent_path();
    }
    return result;
}

void makeDirectories(const fs::path& path)
{
    std::error_code error;
    fs::create_directories(path, error);
    // Not every library reports a file that stands in the way.
    if (std::error_code ignored; !error && !fs::is_directory(path, ignored))
        error = std::make_error_code(std::errc::not_a_directory);
    if (error)
        throw PlatformError::posix("Could not create directory " + path.string(), error.value());
}

} // namespace glimto
