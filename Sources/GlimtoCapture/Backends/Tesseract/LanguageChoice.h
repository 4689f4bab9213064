#pragma once

#include <functional>
#include <string>
#include <vector>

namespace glimto {

// Reads a sample of the text with one language and tells how sure that was, in percent.
using TrialReading = std::function<double(const std::string& language)>;

// A reading this sure is in the right language; no other one has to be tried.
inline constexpr double sureReading = 93;

// The languages to read a text with, the most likely one first: the one that reads the sample best, and
// English beside it, which stands on most screens. `installed` is not empty; its order decides between
// equals.
//
// The script comes first: one language of each is tried, then the others of the best script.
std::vector<std::string> chooseLanguages(
    const std::vector<std::string>& installed, const TrialReading& trial);

} // namespace glimto
