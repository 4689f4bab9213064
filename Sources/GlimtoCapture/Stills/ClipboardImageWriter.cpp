#include "Stills/ClipboardImageWriter.h"

#include <string>

#include "Stills/ImageFile.h"
#include "Support/Errors.h"

namespace glimto {

ClipboardImageWriter::ClipboardImageWriter(PNGCodec& codec, Pasteboard& pasteboard)
    : codec_(codec)
    , pasteboard_(pasteboard)
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
    const auto data = readPNGFile(path);
    validatePNG(data ? std::span<const std::byte>(*data) : std::span<const std::byte>(), path);
    if (!pasteboard_.setPNG(*data))
        throw CLIError("Could not write PNG image data to the clipboard.");
    return {path, data->size()};
}

void ClipboardImageWriter::validatePNG(std::span<const std::byte> data, const std::filesystem::path& path)
{
    if (data.empty() || !codec_.decode(data))
        throw CLIError("clipboard-image requires a readable PNG image at " + path.string() + ".");
}

} // namespace glimto
