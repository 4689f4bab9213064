#include "Backends/Images/TurboImageCodec.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <span>
#include <string>

#include <turbojpeg.h>

#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"
#include "Support/Owned.h"

namespace glimto {

std::vector<std::byte> TurboImageCodec::encodeJPEG(const PixelBuffer& picture, double quality)
{
    const PixelBuffer pixels = inFormat(picture, PixelFormat::xrgb8888);
    const Owned<void, tjDestroy> compressor(tjInitCompress());
    if (!compressor)
        throw PlatformError(errorDomain::jpeg, -1, "The JPEG encoder could not be started.");
    unsigned char* raw = nullptr;
    unsigned long size = 0;
    const int percent = std::clamp(static_cast<int>(std::lround(quality * 100)), 1, 100);
    // Text on a screen shows the loss of halved chroma, so it is kept whole.
    const int result = tjCompress2(compressor.get(), pixels.bytes, pixels.width,
        static_cast<int>(pixels.bytesPerRow), pixels.height, TJPF_BGRX, &raw, &size, TJSAMP_444, percent, 0);
    const Owned<unsigned char, tjFree> buffer(raw);
    if (result != 0)
        throw PlatformError(errorDomain::jpeg, result,
            std::string("The JPEG encoder failed: ") + tjGetErrorStr2(compressor.get()));
    const auto bytes = std::as_bytes(std::span(raw, size));
    return {bytes.begin(), bytes.end()};
}

} // namespace glimto
