#include "Backends/Tesseract/LanguageChoice.h"

#include <algorithm>
#include <set>

#include "Backends/Tesseract/TextLanguages.h"

namespace glimto {

namespace {

struct Best {
    std::string language;
    double confidence = -1;

    bool isSure() const { return confidence >= sureReading; }

    void consider(const std::string& candidate, double reached)
    {
        if (reached > confidence)
            *this = {candidate, reached};
    }
};

} // namespace

std::vector<std::string> chooseLanguages(const std::vector<std::string>& installed, const TrialReading& trial)
{
    if (installed.size() == 1)
        return installed;

    Best best;
    std::set<std::string> tried;
    std::set<std::string> triedScripts;
    for (const auto& language : installed) {
        if (best.isSure())
            break;
        if (!triedScripts.insert(scriptOf(language)).second)
            continue;
        tried.insert(language);
        best.consider(language, trial(language));
    }
    const std::string script = scriptOf(best.language);
    for (const auto& language : installed) {
        if (best.isSure())
            break;
        if (scriptOf(language) == script && tried.insert(language).second)
            best.consider(language, trial(language));
    }

    std::vector<std::string> chosen = {best.language};
    const std::string english = "eng";
    if (best.language != english && std::find(installed.begin(), installed.end(), english) != installed.end())
        chosen.push_back(english);
    return chosen;
}

} // namespace glimto
