#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace glimto {

// Questions to a compositor in its own language, by the socket at `path`. Answers are JSON. Absent when there is no
// answer within two seconds, or one of more than 16 MiB. Nothing here throws.

// i3's protocol: "i3-ipc", length and type in the order of this machine, then the message.
enum class SwayQuestion : std::uint32_t { tree = 4 };
std::optional<std::string> askSway(const std::string& path, SwayQuestion question);

// One line; the answer ends with the connection.
std::optional<std::string> askHyprland(const std::string& path, const std::string& question);

} // namespace glimto
