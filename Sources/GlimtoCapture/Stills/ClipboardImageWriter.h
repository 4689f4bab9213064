#pragma once

#include <cstddef>
#include <filesystem>
#include <span>

#include "Options/Command.h"
#include "Platform/PNGCodec.h"
#include "Platform/Pasteboard.h"
#include "Support/LineOutput.h"

namespace glimto {

// Puts PNG files on the clipboard, byte for byte. The services outlive it.
class ClipboardImageWriter {
public:
    struct Result {
        std::filesystem::path path;
        std::size_t byteCount = 0;
    };

    // `standardError` hears why the clipboard could not be had.
    ClipboardImageWriter(PNGCodec& codec, Pasteboard& pasteboard, LineOutput& standardError);

    // Throws CLIError: "clipboard-image requires --path <png>.", "PNG file does not exist at <path>." when
    // there is no regular file, what validatePNG() throws, also when the file cannot be read, and "Could not
    // write PNG image data to the clipboard."
    Result write(const ClipboardImageOptions& options);
    Result write(const std::filesystem::path& path);

    // Throws CLIError "clipboard-image requires a readable PNG image at <path>." unless the data is a PNG
    // that can be decoded.
    void validatePNG(std::span<const std::byte> data, const std::filesystem::path& path);

private:
    PNGCodec& codec_;
    Pasteboard& pasteboard_;
    LineOutput& standardError_;
};

} // namespace glimto
