#pragma once

#include <cstdint>
#include <filesystem>

#include "Platform/PNGCodec.h"
#include "Platform/VideoFrame.h"
#include "Support/LineOutput.h"

namespace glimto {

// Writes pictures as PNG files that appear whole under their names or not at all. The services outlive it.
class ScreenshotFile {
public:
    // `standardError` gets a warning with the cause where an error does not tell it.
    ScreenshotFile(PNGCodec& codec, LineOutput& standardError);

    // Replaces the file or link at `path`, unless that is or leads to a device, a pipe, a socket or an open
    // file of a process, and makes the directories that lead there.
    //
    // Throws PlatformError: "Screenshot output path is a directory: <path>", "Could not create PNG
    // destination at <path>" when no file can be made there, "Could not finalize PNG at <path>" when it
    // cannot be written to its end, and the system's error when it cannot be moved into place. Whatever
    // happens, also a signal that ends the process, no other file is left behind.
    void writePNG(const PixelBuffer& image, const std::filesystem::path& path);

private:
    [[noreturn]] void failToFinalize(const std::exception& cause, const std::filesystem::path& path);

    PNGCodec& codec_;
    LineOutput& standardError_;
};

// In bytes. Throws PlatformError.
std::int64_t fileSize(const std::filesystem::path& path);

} // namespace glimto
