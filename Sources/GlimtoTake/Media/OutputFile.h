#pragma once

#include <cstdint>
#include <filesystem>

#include "Support/RemovedOnSignal.h"

namespace glimto {

enum class ExistingFile { kept, replaced };

// A file that libraries write by its name, and that appears whole under its final name or not at all: they
// write to a hidden file beside it, which goes when this object does, or when a signal ends the process.
class OutputFile {
public:
    // Throws CLIError when the file exists and is to be kept, and PlatformError when it cannot be made.
    OutputFile(std::filesystem::path path, ExistingFile existing);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Exists, and is empty.
    const std::filesystem::path& temporaryPath() const { return temporaryPath_; }

    // Flushes the hidden file and gives it its final name. Returns its size in bytes.
    std::uint64_t commit();

private:
    std::filesystem::path path_;
    std::filesystem::path temporaryPath_;
    ExistingFile existing_;
    bool isCommitted_ = false;
    RemovedOnSignal removal_;
};

} // namespace glimto
