#include "Backends/Pango/FontSources.h"

#include <cstdlib>

#include <dlfcn.h>
#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-font.h>

#include "Support/EnvironmentVariable.h"

namespace glimto {

namespace {

std::string text(const FcChar8* name)
{
    return reinterpret_cast<const char*>(name);
}

void addAll(std::vector<std::string>& files, FcStrList* names)
{
    if (!names)
        return;
    while (const FcChar8* name = FcStrListNext(names))
        files.push_back(text(name));
    FcStrListDone(names);
}

// The library or program that holds `function`.
template <typename Function> void addLibrary(std::vector<std::string>& files, Function* function)
{
    Dl_info info{};
    if (::dladdr(reinterpret_cast<const void*>(function), &info) != 0 && info.dli_fname)
        files.emplace_back(info.dli_fname);
}

// fontconfig tells what it has read, not what it would read if it were there.
void addPlacesOfConfiguration(std::vector<std::string>& files)
{
    files.emplace_back("/etc/fonts/local.conf");
    const std::string home = environmentVariable("HOME");
    std::string configuration = environmentVariable("XDG_CONFIG_HOME");
    if (configuration.empty())
        configuration = home + "/.config";
    for (const char* name : {"fonts.conf", "conf.d"})
        files.push_back(configuration + "/fontconfig/" + name);
    for (const char* name : {".fonts.conf", ".fonts.conf.d"})
        files.push_back(home + "/" + name);
}

void addFonts(std::vector<std::string>& files, PangoLayoutLine* line)
{
    for (const GSList* run = line->runs; run; run = run->next) {
        PangoFont* const font = static_cast<const PangoGlyphItem*>(run->data)->item->analysis.font;
        FcChar8* file = nullptr;
        if (PANGO_IS_FC_FONT(font)
            && FcPatternGetString(pango_fc_font_get_pattern(PANGO_FC_FONT(font)), FC_FILE, 0, &file)
                == FcResultMatch)
            files.push_back(text(file));
    }
}

} // namespace

std::vector<std::string> filesBehind(PangoLayoutLine* line)
{
    // Below another root the names that fontconfig tells are not those that it opens.
    if (std::getenv("FONTCONFIG_SYSROOT"))
        return {};
    std::vector<std::string> files;
    addLibrary(files, &filesBehind);
    addLibrary(files, &pango_layout_new);
    addLibrary(files, &cairo_create);
    addLibrary(files, &FcInit);
    addAll(files, FcConfigGetConfigFiles(nullptr));
    addAll(files, FcConfigGetFontDirs(nullptr));
    addPlacesOfConfiguration(files);
    addFonts(files, line);
    return files;
}

std::vector<std::string> variablesOfFonts()
{
    return {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS", "FONTCONFIG_FILE", "FONTCONFIG_PATH",
        "FONTCONFIG_SYSROOT", "FC_LANG", "LC_ALL", "LC_CTYPE", "LANG", "LANGUAGE", "PANGO_LANGUAGE"};
}

} // namespace glimto
