#pragma once

namespace glimto {

// Passes `result` on unless it is one of FFmpeg's error numbers: then throws PlatformError with domain
// "FFmpeg", that number and the text "<what>: <FFmpeg's text>".
int requireFFmpeg(int result, const char* what);

// Throws as above, as for memory that is not to be had.
[[noreturn]] void throwOutOfMemory(const char* what);

// Passes a pointer on that FFmpeg gave; null means no memory.
template <typename Pointer> Pointer requireAllocated(Pointer pointer, const char* what)
{
    if (!pointer)
        throwOutOfMemory(what);
    return pointer;
}

} // namespace glimto
