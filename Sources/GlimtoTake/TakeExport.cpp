#include "TakeExport.h"

#include <functional>
#include <map>
#include <set>

#include "GlimtoTake/Media/ConvertingExport.h"
#include "GlimtoTake/Media/Decoder.h"
#include "GlimtoTake/Media/Mp4Export.h"
#include "GlimtoTake/Media/OutputFile.h"
#include "Support/AtomicFile.h"
#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

constexpr double animationRate = 15; // pictures a second

// An export that is under way.
struct Job {
    const TakeOptions& options;
    const TakeExamination& take;
    TakeSpan span;
    std::filesystem::path target;
    PNGCodec& pngCodec;
    const TakeProgress& progress;

    ExportTracks tracks() const { return options.videoOnly ? ExportTracks::videoOnly : ExportTracks::all; }
    PictureOptions pictures(double usualRate) const
    {
        return {options.framesPerSecond.value_or(usualRate), options.width.value_or(0)};
    }
};

struct Kind {
    std::set<std::string> flags; // that mean something for it
    std::function<void(const Job&)> write;
};

void writePicture(const Job& job)
{
    const double time = job.options.at.value_or(0);
    if (time > job.take.video.end())
        throw CLIError("The take ends before --at, after " + shortestDecimal(job.take.video.end()) + " s.");
    const auto [width, height] = job.take.pictureSize();
    const auto data = job.pngCodec.encode(pictureAt(job.take.video, time, width, height));
    writeFileAtomically(FileBelow::of(job.target), data);
}

const std::map<std::string, Kind>& kinds()
{
    static const std::map<std::string, Kind> table = {
        {".mp4",
            {{"--from", "--to", "--video-only"},
                [](const Job& job) {
                    exportMp4(job.take, job.span, job.tracks(), job.target, job.progress);
                }}},
        {".m4a",
            {{"--from", "--to"},
                [](const Job& job) {
                    exportMp4(job.take, job.span, ExportTracks::audioOnly, job.target, job.progress);
                }}},
        {".wav",
            {{"--from", "--to"},
                [](const Job& job) { exportWav(job.take, job.span, job.target, job.progress); }}},
        {".gif",
            {{"--from", "--to", "--fps", "--width"},
                [](const Job& job) {
                    exportGif(job.take, job.span, job.pictures(animationRate), job.target, job.progress);
                }}},
        {".webp",
            {{"--from", "--to", "--fps", "--width"},
                [](const Job& job) {
                    exportWebP(job.take, job.span, job.pictures(animationRate), job.target, job.progress);
                }}},
        {".webm",
            {{"--from", "--to", "--fps", "--width", "--video-only", "--codec"},
                [](const Job& job) {
                    const auto codec = job.options.codec == "vp9" ? WebMCodec::vp9 : WebMCodec::av1;
                    exportWebM(
                        job.take, job.span, job.pictures(0), codec, job.tracks(), job.target, job.progress);
                }}},
        {".png", {{"--at"}, writePicture}},
    };
    return table;
}

void requireFitting(const TakeOptions& options, const Kind& kind, const std::string& type)
{
    const std::map<std::string, bool> given = {{"--from", options.from.has_value()},
        {"--to", options.to.has_value()}, {"--at", options.at.has_value()},
        {"--fps", options.framesPerSecond.has_value()}, {"--width", options.width.has_value()},
        {"--video-only", options.videoOnly}, {"--codec", options.codec.has_value()}};
    for (const auto& [flag, isGiven] : given) {
        if (isGiven && !kind.flags.contains(flag))
            throw CLIError(flag + " means nothing for a " + type + " file.");
    }
}

} // namespace

ExportReport exportTake(const TakeOptions& options, PNGCodec& pngCodec, const TakeProgress& progress)
{
    const std::string type = lowercased(options.output.extension().string());
    const auto kind = kinds().find(type);
    if (kind == kinds().end())
        throw CLIError("The output's name must end with .mp4, .webm, .gif, .webp, .m4a, .wav or .png: "
            + singleLine(options.output.string()));
    requireFitting(options, kind->second, type);
    const auto take = examineTake(options.take);
    const TakeSpan span = takeSpan(take, options.from, options.to);
    OutputFile file(options.output, options.overwrite ? ExistingFile::replaced : ExistingFile::kept);
    kind->second.write({options, take, span, file.temporaryPath(), pngCodec, progress});
    return {options.output, file.commit(), type == ".png" ? 0 : span.duration()};
}

} // namespace glimto
