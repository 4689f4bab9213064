#pragma once

#include <filesystem>

#include "GlimtoTake/Media/Mp4Export.h"
#include "GlimtoTake/Media/TakeSpan.h"

namespace glimto {

enum class WebMCodec { av1, vp9 };

// How pictures are thinned out and scaled.
struct PictureOptions {
    double framesPerSecond = 0; // at most; 0 leaves all
    int width = 0; // pixels; 0 leaves the size
};

// All throw CLIError and PlatformError. The files have a variable rate of frames: a picture that stands is
// there once.

// A GIF with one palette, made of all pictures of the span.
void exportGif(const TakeExamination& take, const TakeSpan& span, const PictureOptions& options,
    const std::filesystem::path& target, const TakeProgress& progress);

// An animated WebP.
void exportWebP(const TakeExamination& take, const TakeSpan& span, const PictureOptions& options,
    const std::filesystem::path& target, const TakeProgress& progress);

// AV1 or VP9, with Opus.
void exportWebM(const TakeExamination& take, const TakeSpan& span, const PictureOptions& options,
    WebMCodec codec, ExportTracks tracks, const std::filesystem::path& target, const TakeProgress& progress);

// 16-bit PCM, exact to the sample.
void exportWav(const TakeExamination& take, const TakeSpan& span, const std::filesystem::path& target,
    const TakeProgress& progress);

} // namespace glimto
