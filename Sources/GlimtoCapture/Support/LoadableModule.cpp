#include "Support/LoadableModule.h"

#include <utility>

#include <dlfcn.h>

#include "Support/Errors.h"
#include "Support/OthersAccess.h"

namespace glimto {

namespace {

[[noreturn]] void throwUnavailable(const std::string& purpose, const std::string& reason)
{
    throw PlatformError("module", 0, purpose + " is not available: " + reason);
}

std::string lastLoaderError()
{
    const char* text = ::dlerror();
    return text ? text : "unknown error";
}

void* openModule(const std::string& fileName, const std::vector<std::filesystem::path>& directories,
    const std::string& purpose)
{
    for (const auto& directory : directories) {
        std::error_code ignored;
        const auto path = directory / fileName;
        if (!std::filesystem::exists(path, ignored))
            continue;
        for (const auto& place : {directory, path}) {
            // Who owns the program's own directory could have replaced the program.
            if (mayBeOthers(place, directories.front()))
                throwUnavailable(purpose, "other users may write to " + place.string() + ".");
        }
        if (void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
            return module;
        throwUnavailable(purpose, lastLoaderError());
    }
    throwUnavailable(purpose, fileName + " is missing beside the program.");
}

} // namespace

LoadableModule::LoadableModule(
    std::string fileName, std::vector<std::filesystem::path> directories, std::string purpose)
    : fileName_(std::move(fileName))
    , directories_(std::move(directories))
    , purpose_(std::move(purpose))
{
}

void LoadableModule::beginLoading()
{
    if (!handle_.valid())
        handle_ = std::async(
            std::launch::async, [fileName = fileName_, directories = directories_, purpose = purpose_] {
                return openModule(fileName, directories, purpose);
            });
}

void* LoadableModule::symbol(const char* name)
{
    beginLoading();
    void* module = handle_.get();
    if (void* found = ::dlsym(module, name))
        return found;
    throwUnavailable(purpose_, lastLoaderError());
}

} // namespace glimto
