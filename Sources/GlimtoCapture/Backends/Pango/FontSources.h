#pragma once

#include <string>
#include <vector>

#include <pango/pango.h>

namespace glimto {

// What the look of a line depends on: the libraries that draw it, fontconfig's configuration, the directories
// in which it looks for fonts, whether they exist or not, and the fonts that the line was set in. Empty when
// that cannot be told.
std::vector<std::string> filesBehind(PangoLayoutLine* line);

// The variables of the environment by which fontconfig and Pango find configuration and language.
std::vector<std::string> variablesOfFonts();

} // namespace glimto
