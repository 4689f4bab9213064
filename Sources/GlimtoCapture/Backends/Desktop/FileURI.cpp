#include "Backends/Desktop/FileURI.h"

#include "Support/WebAddress.h"

namespace glimto {

std::string fileURI(const std::filesystem::path& path)
{
    return "file://" + percentEncoded(path.native(), "-._~/");
}

} // namespace glimto
