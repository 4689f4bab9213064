#include "Support/StandardizedPath.h"

#include <system_error>

#include "Support/Errors.h"

namespace glimto {

namespace fs = std::filesystem;

fs::path standardizedPath(const fs::path& path)
{
    std::error_code error;
    const fs::path absolute = path.is_absolute() ? path : fs::current_path(error) / path;
    if (error)
        throw PlatformError::posix("Could not find the working directory", error.value());
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

} // namespace glimto
