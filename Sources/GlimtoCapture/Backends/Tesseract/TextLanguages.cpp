#include "Backends/Tesseract/TextLanguages.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>
#include <utility>

#include <tesseract/baseapi.h>

namespace glimto {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view suffix = ".traineddata";
constexpr std::string_view english = "eng";

// A script and the languages that are written in it, each with a space behind.
constexpr std::array scripts = {
    "Arabic ara fas pus snd uig urd "sv,
    "Armenian hye "sv,
    "Bengali asm ben "sv,
    "Canadian_Aboriginal iku "sv,
    "Cherokee chr "sv,
    "Cyrillic bel bul kaz kir mkd mon rus srp tat tgk ukr uzb_cyrl "sv,
    "Devanagari hin mar nep san "sv,
    "Ethiopic amh tir "sv,
    "Georgian kat kat_old "sv,
    "Greek ell grc "sv,
    "Gujarati guj "sv,
    "Gurmukhi pan "sv,
    "Han chi_sim chi_tra "sv,
    "Hangul kor "sv,
    "Hebrew heb yid "sv,
    "Japanese jpn "sv,
    "Kannada kan "sv,
    "Khmer khm "sv,
    "Lao lao "sv,
    "Malayalam mal "sv,
    "Myanmar mya "sv,
    "Oriya ori "sv,
    "Sinhala sin "sv,
    "Syriac syr "sv,
    "Tamil tam "sv,
    "Telugu tel "sv,
    "Thaana div "sv,
    "Thai tha "sv,
    "Tibetan bod dzo "sv,
};

bool isRunningText(std::string_view language)
{
    return language != "osd" && language != "equ" && !language.ends_with("_vert");
}

// The stems of the language files in `folder`, sorted.
std::vector<std::string> namesIn(const std::filesystem::path& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        const auto& path = entry->path();
        if (path.extension() == suffix && entry->is_regular_file(ignored)
            && isRunningText(path.stem().string()))
            names.push_back(path.stem().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

std::filesystem::path languageFolder()
{
    tesseract::TessBaseAPI api;
    api.SetVariable("debug_file", "/dev/null");
    // The folder is known even when the language is not, and no language has no name.
    api.Init(nullptr, "-", tesseract::OEM_LSTM_ONLY);
    return api.GetDatapath();
}

std::vector<std::string> languagesIn(const std::filesystem::path& folder)
{
    std::vector<std::string> names = namesIn(folder);
    if (names.empty()) {
        for (const auto& script : namesIn(folder / "script"))
            names.push_back("script/" + script);
    }
    std::stable_partition(
        names.begin(), names.end(), [](const std::string& name) { return name == english; });
    return names;
}

std::string scriptOf(const std::string& language)
{
    constexpr std::string_view folder = "script/";
    if (language.starts_with(folder))
        return language.substr(folder.size());
    const std::string word = " " + language + " ";
    const auto script = std::ranges::find_if(
        scripts, [&](std::string_view each) { return each.find(word) != std::string_view::npos; });
    return std::string(script == scripts.end() ? "Latin"sv : script->substr(0, script->find(' ')));
}

} // namespace glimto
