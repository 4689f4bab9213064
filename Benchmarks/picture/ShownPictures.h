#pragma once

#include <functional>
#include <string>

#include "picture/Luma.h"

namespace glimto {

// Decodes the video of a file, or of a playlist, and hands out its pictures in turn, with their times in
// seconds. Throws std::runtime_error at the first fault.
void readPictures(const std::string& file, const std::function<void(double time, Luma shown)>& receive);

// Decodes the video of a file and hands out what it shows at each of `pictureCount` moments,
// `picturesPerSecond` of them a second from time zero on. Throws std::runtime_error at the first fault.
void readShownPictures(const std::string& file, int pictureCount, int picturesPerSecond,
    const std::function<void(int number, const Luma& shown)>& receive);

} // namespace glimto
