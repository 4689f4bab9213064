#include "Backends/FFmpeg/FFmpegErrors.h"

#include <array>
#include <string>

extern "C" {
#include <libavutil/error.h>
}

#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

[[noreturn]] void throwFFmpegError(int number, const char* what)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text = {};
    av_strerror(number, text.data(), text.size());
    throw PlatformError(errorDomain::ffmpeg, number, std::string(what) + ": " + text.data());
}

} // namespace

int requireFFmpeg(int result, const char* what)
{
    if (result < 0)
        throwFFmpegError(result, what);
    return result;
}

void throwOutOfMemory(const char* what)
{
    throwFFmpegError(AVERROR(ENOMEM), what);
}

} // namespace glimto
