#include "Progress/ProgressReporter.h"

#include <utility>

#include "Support/Errors.h"
#include "Support/Guarded.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds endLimit(1);

} // namespace

struct ProgressReporter::Work {
    std::shared_ptr<RecordingFigures> figures;
    std::vector<std::shared_ptr<ProgressSink>> sinks;
    std::chrono::nanoseconds interval;
    Guarded<bool> isOver{false};

    void run()
    {
        while (!isOver.waitFor(interval, [](bool over) { return over; }))
            show();
        figures->enter(RecordingPhase::ended);
        show();
    }

    void show()
    {
        const auto snapshot = figures->snapshot();
        for (const auto& sink : sinks)
            sink->show(snapshot);
    }
};

ProgressReporter::ProgressReporter(std::shared_ptr<RecordingFigures> figures,
    std::vector<std::shared_ptr<ProgressSink>> sinks, std::chrono::nanoseconds interval)
    : work_(new Work{std::move(figures), std::move(sinks), interval})
{
    if (work_->sinks.empty())
        return;
    work_->figures->watch();
    try {
        thread_.emplace("glimto.capture.progress", [work = work_] { work->run(); });
    } catch (const PlatformError&) {
        // A recording is worth more than its display.
    }
}

ProgressReporter::~ProgressReporter()
{
    work_->isOver.change([](bool& over) { over = true; });
    if (thread_)
        thread_->joinWithin(endLimit);
}

} // namespace glimto
