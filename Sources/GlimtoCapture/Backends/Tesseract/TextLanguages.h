#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace glimto {

// The folder where Tesseract looks for its languages: TESSDATA_PREFIX, else the one it was built with.
std::filesystem::path languageFolder();

// Names of the languages whose data lie in `folder`, English first, then by name; empty when there are none
// or no such folder. Left out is what is no language of running text: script detection, formulas, models for
// vertical text. Models of whole scripts ("script/Latin") count only where there is no language.
std::vector<std::string> languagesIn(const std::filesystem::path& folder);

// The script that a language is written in: "Latin", "Cyrillic"; "Han" for Chinese. Languages
// that are not known count as Latin, as most are.
std::string scriptOf(const std::string& language);

} // namespace glimto
