#pragma once

#include <string>

namespace glimto {

// The help of the program, without the last line's newline.
std::string usageText();

} // namespace glimto
