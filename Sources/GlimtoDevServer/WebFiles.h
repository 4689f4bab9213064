#pragma once

#include <string_view>

namespace glimto {

// A file of the folder Web/, built into the program: "player.html". Empty when there is none.
std::string_view webFile(std::string_view name);

} // namespace glimto
