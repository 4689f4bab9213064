#include "TakeRender.h"

#include <algorithm>
#include <string_view>

#include "GlimtoTake/Media/OutputFile.h"
#include "GlimtoTake/Media/TakeRendering.h"
#include "GlimtoTake/Takes/EventsReader.h"
#include "Support/AtomicFile.h"
#include "Support/Errors.h"
#include "Support/Text.h"
#include "Support/RegularFile.h"

namespace glimto {

namespace {

constexpr std::size_t mostPlanBytes = std::size_t{16} << 20U;
constexpr int largestSide = 8192; // pixels, of what is rendered

EventsDocument eventsOf(const TakeExamination& take)
{
    const auto text = take.files.text(take.files.plan().eventsURL, mostEventsFileBytes);
    return text ? readEventsDocument(*text) : EventsDocument();
}

std::vector<Zoom> zoomsFor(
    const TakeOptions& options, const TakeExamination& take, const EventsDocument& events)
{
    if (options.planFile) {
        const auto text = readRegularFile(*options.planFile, mostPlanBytes, SymbolicLinks::followed);
        if (!text)
            throw CLIError(singleLine(options.planFile->string()) + " is not a regular file.");
        return readZoomPlan(*text);
    }
    if (options.zoom == "none" && !options.planOnly)
        return {};
    return planZooms(events.events, take.video.end());
}

int even(double value)
{
    return std::max(2, static_cast<int>(value + 0.5) / 2 * 2);
}

CanvasLayout layoutFor(const TakeOptions& options, const TakeExamination& take)
{
    const auto [width, height] = take.pictureSize();
    CanvasLayout layout;
    layout.width = even(options.width.value_or(width));
    layout.height = even(
        static_cast<double>(layout.width - 2 * options.padding) * height / width + 2 * options.padding);
    if (layout.width > largestSide || layout.height > largestSide)
        throw CLIError("A rendered picture may be at most 8192 pixels wide and high.");
    if (2 * options.padding >= std::min(layout.width, layout.height) - 16)
        throw CLIError("--padding leaves no room for the picture.");
    layout.padding = options.padding;
    layout.cornerRadius = options.cornerRadius;
    layout.background = options.background;
    return layout;
}

} // namespace

ExportReport renderTakeFile(const TakeOptions& options, const TakeProgress& progress)
{
    const std::string_view type = options.planOnly ? ".json" : ".mp4";
    if (options.output.extension() != type)
        throw CLIError("The output's name must end with " + std::string(type) + ": "
            + singleLine(options.output.string()));
    const auto take = examineTake(options.take);
    auto events = eventsOf(take);
    const auto zooms = zoomsFor(options, take, events);
    OutputFile file(options.output, options.overwrite ? ExistingFile::replaced : ExistingFile::kept);
    if (options.planOnly) {
        writeFileAtomically(file.temporaryPath(), encodeZoomPlan(zooms));
        return {options.output, file.commit(), 0};
    }
    const TakeSpan span = takeSpan(take, options.from, options.to);
    RenderPlan plan;
    plan.zooms = zooms;
    plan.layout = layoutFor(options, take);
    const double points
        = events.display.pointScale > 0 && events.display.pointScale < 16 ? events.display.pointScale : 1;
    plan.layout.pointerScale = options.pointerSize * points;
    // A pointer that is in the picture already is not drawn a second time.
    if (events.cursorHidden && options.pointerSize > 0)
        plan.events = std::move(events.events);
    const double recorded
        = take.manifest ? take.manifest->video.framesPerSecond : take.video.facts.framesPerSecond;
    plan.framesPerSecond = options.framesPerSecond.value_or(recorded >= 1 && recorded <= 240 ? recorded : 30);
    renderTake(take, span, plan, file.temporaryPath(), progress);
    return {options.output, file.commit(), span.duration()};
}

} // namespace glimto
