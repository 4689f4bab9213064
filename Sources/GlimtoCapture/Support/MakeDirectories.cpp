#include "Support/MakeDirectories.h"

#include <system_error>

#include "Support/Errors.h"

namespace glimto {

void makeDirectories(const std::filesystem::path& path)
{
    std::error_code error;
    std::filesystem::create_directories(path, error);
    // Not every library reports a file that stands in the way.
    if (std::error_code ignored; !error && !std::filesystem::is_directory(path, ignored))
        error = std::make_error_code(std::errc::not_a_directory);
    if (error)
        throw PlatformError::posix("Could not create directory " + path.string(), error.value());
}

} // namespace glimto
