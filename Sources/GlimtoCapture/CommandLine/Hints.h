#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace glimto {

// What could be meant by an argument that the command line does not know, for a person at a terminal: a
// sentence without "hint: ", or nothing. `message` is the error that the arguments led to.
std::vector<std::string> argumentHints(std::span<const std::string> arguments, const std::string& message);

// The windows that `message`, the two lines of an unknown window's error, names: a line each, five at most.
std::vector<std::string> windowHints(const std::string& message);

// How a finished take is looked at, and how one that was broken off is made whole.
std::vector<std::string> playHints(const std::filesystem::path& take);
std::vector<std::string> repairHints(const std::filesystem::path& take);

// The smallest number of letters put in, left out, exchanged, or swapped with their neighbour that makes
// `second` of `first`.
std::size_t editDistance(std::string_view first, std::string_view second);

} // namespace glimto
