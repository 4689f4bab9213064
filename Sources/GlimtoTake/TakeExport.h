#pragma once

#include <cstdint>

#include "GlimtoTake/Media/TakeSpan.h"
#include "Platform/PNGCodec.h"
#include "TakeOptions.h"

namespace glimto {

// What was written.
struct ExportReport {
    std::filesystem::path file;
    std::uint64_t bytes = 0;
    double duration = 0; // seconds; 0 for a picture
};

// Writes the file that `options` ask for, of a kind that its name tells. Throws CLIError when the kind is
// unknown, an option does not fit it, and PlatformError.
ExportReport exportTake(const TakeOptions& options, PNGCodec& pngCodec, const TakeProgress& progress);

} // namespace glimto
