#pragma once

// The domains of the PlatformErrors that backends throw. A driving program reads them as the `domain` of an
// error, beside its number.

namespace glimto::errorDomain {

// Of opening and running captures; means the same on every window system. Numbers in CaptureErrors.h.
inline constexpr const char* captureStream = "com.glimto.capture.stream";

// Window systems, each with numbers of its own. Those of X11 from 1 to 255 are the server's.
inline constexpr const char* windowSystem = "WindowSystem"; // none that the program could use
inline constexpr const char* x11 = "X11";
inline constexpr const char* wayland = "Wayland";
inline constexpr const char* portal = "Portal";

// What the container has no room for; without numbers.
inline constexpr const char* mp4 = "MP4";

// Libraries, with the numbers that they give; 0 or -1 where they give none.
inline constexpr const char* ffmpeg = "FFmpeg";
inline constexpr const char* http = "HTTP"; // libcurl's
inline constexpr const char* icu = "ICU";
inline constexpr const char* jpeg = "JPEG";
inline constexpr const char* png = "PNG";
inline constexpr const char* pulseAudio = "PulseAudio";
inline constexpr const char* tesseract = "tesseract";
inline constexpr const char* x264 = "x264";

} // namespace glimto::errorDomain
