#include "Stills/ClipboardImageWriter.h"

#include <string>
#include <vector>

#include "Platform/ImageFile.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

// A file that may not be read is as good as one that holds no PNG.
std::vector<std::byte> contentsOrNothing(const std::filesystem::path& path)
{
    try {
        return readPNGFile(path).value_or(std::vector<std::byte>());
    } catch (const PlatformError&) {
        return {};
    }
}

} // namespace

ClipboardImageWriter::ClipboardImageWriter(PNGCodec& codec, Pasteboard& pasteboard, LineOutput& standardError)
    : codec_(codec)
    , pasteboard_(pasteboard)
    , standardError_(standardError)
{
}

ClipboardImageWriter::Result ClipboardImageWriter::write(const ClipboardImageOptions& options)
{
    if (!options.pathURL)
        throw CLIError("clipboard-image requires --path <png>.");
    return write(*options.pathURL);
}

ClipboardImageWriter::Result ClipboardImageWriter::write(const std::filesystem::path& path)
{
    if (imageFileKind(path) != ImageFileKind::regularFile)
        throw CLIError("PNG file does not exist at " + path.string() + ".");
    const auto data = contentsOrNothing(path);
    validatePNG(data, path);
    if (const auto obstacle = pasteboard_.setPNG(data)) {
        standardError_.writeLine("warning: " + *obstacle);
        throw CLIError("Could not write PNG image data to the clipboard.");
    }
    return {path, data.size()};
}

void ClipboardImageWriter::validatePNG(std::span<const std::byte> data, const std::filesystem::path& path)
{
    if (data.empty() || !codec_.decode(data))
        throw CLIError("clipboard-image requires a readable PNG image at " + path.string() + ".");
}

} // namespace glimto
