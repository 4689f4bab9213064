#include "Backends/FFmpeg/Loader/LazyAssetWriterFactory.h"

#include <string>
#include <utility>

#include <dlfcn.h>

#include "Backends/FFmpeg/Loader/FFmpegModuleEntry.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

[[noreturn]] void throwUnavailable(const std::string& reason)
{
    throw PlatformError("FFmpeg", 0, "The H.264 encoder is not available: " + reason);
}

std::filesystem::path findModule(const std::vector<std::filesystem::path>& directories)
{
    for (const auto& directory : directories) {
        std::error_code ignored;
        auto path = directory / ffmpegModuleFileName;
        if (std::filesystem::exists(path, ignored))
            return path;
    }
    throwUnavailable(std::string(ffmpegModuleFileName) + " is missing beside the program.");
}

std::string lastLoaderError()
{
    const char* text = ::dlerror();
    return text ? text : "unknown error";
}

AssetWriterFactory* openModule(const std::vector<std::filesystem::path>& directories)
{
    const auto path = findModule(directories);
    void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module)
        throwUnavailable(lastLoaderError());
    void* entry = ::dlsym(module, ffmpegModuleEntryName);
    if (!entry)
        throwUnavailable(lastLoaderError());
    return reinterpret_cast<decltype(&glimtoCaptureAssetWriterFactory)>(entry)();
}

} // namespace

LazyAssetWriterFactory::LazyAssetWriterFactory(std::vector<std::filesystem::path> directories)
    : directories_(std::move(directories))
{
}

void LazyAssetWriterFactory::beginLoading()
{
    if (!factory_.valid())
        factory_ = std::async(
            std::launch::async, [directories = directories_] { return openModule(directories); });
}

std::unique_ptr<AssetWriter> LazyAssetWriterFactory::makeVideoWriter(
    const VideoEncodingSettings& settings, MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
{
    beginLoading();
    return factory_.get()->makeVideoWriter(settings, preferredSegmentInterval, delegate);
}

} // namespace glimto
