// Any arguments, one a line: they are refused with one of our errors, or give options within their ranges.

#include <algorithm>
#include <cmath>
#include <string>
#include <variant>
#include <vector>

#include "CommandLine/CLI.h"
#include "FuzzInput.h"
#include "Support/Errors.h"
#include "Fakes/FakeProcessEnvironment.h"

namespace {

using namespace glimto;

void checkRegion(const CaptureRegion& region, double smallestSide)
{
    require(std::isfinite(region.x) && std::isfinite(region.y));
    require(std::isfinite(region.width) && region.width >= smallestSide);
    require(std::isfinite(region.height) && region.height >= smallestSide);
}

void checkUpload(const RecordingUploadOptions& upload)
{
    require(upload.apiBaseURL.starts_with("http://") || upload.apiBaseURL.starts_with("https://"));
    require(upload.backgroundUploadThresholdSeconds >= 0);
}

struct Check {
    void operator()(const RecordOptions& options) const
    {
        require(options.displayIndex >= 0);
        require(options.durationSeconds > 0 && std::isfinite(options.durationSeconds));
        require(options.framesPerSecond >= 1 && options.framesPerSecond <= 120);
        require(options.segmentSeconds > 0 && std::isfinite(options.segmentSeconds));
        require(options.outputDirectory.is_absolute());
        if (options.captureRegion)
            checkRegion(*options.captureRegion, 24);
        if (options.upload)
            checkUpload(*options.upload);
    }
    void operator()(const ScreenshotOptions& options) const
    {
        if (!options.target)
            return;
        if (const auto* region = std::get_if<CaptureRegion>(&*options.target))
            checkRegion(*region, 1);
        else
            require(std::get<DisplayTarget>(*options.target).index >= 0);
    }
    void operator()(const UploadRecordingOptions& options) const
    {
        require(options.outputDirectory.is_absolute());
        checkUpload(options.upload);
    }
    void operator()(const ClipboardImageOptions& options) const { require(options.pathURL->is_absolute()); }
    void operator()(const TextRecognitionOptions& options) const { require(options.pathURL->is_absolute()); }
    void operator()(const WindowListOptions&) const { }
    void operator()(HelpCommand) const { }
    void operator()(SourcesCommand) const { }
    void operator()(PermissionJSONCommand) const { }
};

std::vector<std::string> lines(std::string_view text)
{
    std::vector<std::string> found;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        found.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return found;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    FakeProcessEnvironment environment;
    try {
        std::visit(Check(), CLI::parse(lines(fuzzText(bytes, size)), environment));
    } catch (const Error& error) {
        require(!std::string_view(error.what()).empty());
    }
    return 0;
}
