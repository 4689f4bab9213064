#include "GlimtoTake/Media/Mp4Export.h"

#include <memory>
#include <utility>
#include <vector>

extern "C" {
#include <libavformat/avformat.h>
}

#include "GlimtoTake/Media/ContainerWriter.h"
#include "GlimtoTake/Media/CopiedTrack.h"
#include "Support/Errors.h"

namespace glimto {

void exportMp4(const TakeExamination& take, const TakeSpan& span, ExportTracks tracks,
    const std::filesystem::path& target, const TakeProgress& progress)
{
    struct Output {
        std::unique_ptr<CopiedTrack> track;
        int index = 0;
    };
    ContainerWriter writer(target, tracks == ExportTracks::audioOnly ? "ipod" : "mp4");
    std::vector<Output> outputs;
    const auto add = [&](std::unique_ptr<CopiedTrack> track) {
        const int index = writer.addTrack(track->parameters(), track->stream().time_base);
        track->begin();
        outputs.push_back({std::move(track), index});
    };
    if (tracks != ExportTracks::audioOnly)
        add(CopiedTrack::ofPictures(take.video, span));
    if (tracks != ExportTracks::videoOnly && take.audio && !take.audio->pieces.empty())
        add(CopiedTrack::ofSound(*take.audio, span));
    if (outputs.empty())
        throw CLIError("The take has no sound.");
    writer.writeHeader({{"movflags", "+faststart"}});
    while (true) {
        Output* earliest = nullptr;
        for (Output& output : outputs) {
            if (!output.track->isOver()
                && (!earliest || output.track->nextSeconds() < earliest->track->nextSeconds()))
                earliest = &output;
        }
        if (!earliest)
            break;
        progress(earliest->track->nextSeconds() / span.duration());
        writer.write(earliest->track->next(), earliest->index);
        earliest->track->advance();
    }
    writer.finish();
}

} // namespace glimto
