#pragma once

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

#include <stdlib.h>

namespace glimto {

// A fresh directory that goes with this object.
class TemporaryDirectory {
public:
    TemporaryDirectory()
    {
        auto name = (std::filesystem::temp_directory_path() / "glimto-test-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::system_error(errno, std::generic_category(), "mkdtemp");
        path_ = std::filesystem::canonical(name);
    }
    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

} // namespace glimto
