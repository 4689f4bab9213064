#include "InputEvents/InputEventTapThread.h"

#include <exception>
#include <string>
#include <utility>

#include "Support/Guarded.h"
#include "Support/StopToken.h"

namespace glimto {

namespace {

constexpr std::uint64_t bit(InputEventType type)
{
    return std::uint64_t{1} << static_cast<unsigned>(type);
}

using enum InputEventType;
static_assert(InputEventTapThread::eventMask
    == (bit(leftMouseDown) | bit(leftMouseUp) | bit(rightMouseDown) | bit(rightMouseUp) | bit(mouseMoved)
        | bit(leftMouseDragged) | bit(rightMouseDragged) | bit(scrollWheel)));

} // namespace

struct InputEventTapThread::Core {
    EventTapFactory& factory;
    LineOutput& standardError;
    const std::chrono::nanoseconds checkInterval;
    const std::function<void(const InputEvent&)> onEvent;
    const std::function<void()> onCheck;

    Guarded<bool> isInstalled{false}; // or refused
    StopToken stop = {};
    // The tap while it may be stopped; nothing that runs on the tap's thread takes this lock meanwhile.
    Guarded<EventTap*> runningTap{nullptr};

    bool tapWasDisabledAtLastPoll = false; // of the tap's thread

    void installTapAndRun();
    std::unique_ptr<EventTap> makeTap();
    void handle(const InputEvent& event, EventTap& tap);
    void reenable(EventTap& tap, const std::string& reason);
    void check(EventTap& tap);
    void keepEnabled(EventTap& tap);
    void requestStop();
};

std::unique_ptr<EventTap> InputEventTapThread::Core::makeTap()
{
    std::unique_ptr<EventTap> tap;
    try {
        tap = factory.makeListenOnlyTap(eventMask);
    } catch (const std::exception&) {
        tap = nullptr; // no tap, whatever the reason
    }
    if (!tap)
        standardError.writeLine("warning: listen-only CGEventTap not permitted; event track will be empty");
    return tap;
}

void InputEventTapThread::Core::installTapAndRun()
{
    auto tap = makeTap();
    if (tap) {
        tap->enable();
        runningTap.with([&](EventTap*& running) { running = tap.get(); });
    }
    isInstalled.change([](bool& installed) { installed = true; });
    if (tap && !stop.isStopRequested()) {
        tap->run(checkInterval,
            {.onEvent = [&](const InputEvent& event) { handle(event, *tap); },
                .onTimer = [&] { check(*tap); }});
    }
    runningTap.with([](EventTap*& running) { running = nullptr; });
    tap.reset();
}

void InputEventTapThread::Core::handle(const InputEvent& event, EventTap& tap)
{
    switch (event.type) {
    case InputEventType::tapDisabledByTimeout:
        return reenable(tap, "timeout");
    case InputEventType::tapDisabledByUserInput:
        return reenable(tap, "user input");
    default:
        onEvent(event);
    }
}

void InputEventTapThread::Core::reenable(EventTap& tap, const std::string& reason)
{
    standardError.writeLine("warning: input event tap disabled (" + reason + "); re-enabling");
    tap.enable();
}

void InputEventTapThread::Core::check(EventTap& tap)
{
    if (stop.isStopRequested())
        return;
    keepEnabled(tap);
    onCheck();
}

void InputEventTapThread::Core::keepEnabled(EventTap& tap)
{
    if (tap.isEnabled()) {
        tapWasDisabledAtLastPoll = false;
        return;
    }
    if (!std::exchange(tapWasDisabledAtLastPoll, true))
        standardError.writeLine("warning: input event tap found disabled at flush; re-enabling");
    tap.enable();
}

void InputEventTapThread::Core::requestStop()
{
    stop.requestStop();
    runningTap.with([](EventTap* running) {
        if (running)
            running->stop();
    });
}

InputEventTapThread::InputEventTapThread(EventTapFactory& factory, LineOutput& standardError,
    std::chrono::nanoseconds checkInterval, std::function<void(const InputEvent& event)> onEvent,
    std::function<void()> onCheck)
    : core_(new Core{.factory = factory,
        .standardError = standardError,
        .checkInterval = checkInterval,
        .onEvent = std::move(onEvent),
        .onCheck = std::move(onCheck)})
{
}

InputEventTapThread::~InputEventTapThread()
{
    stop(std::chrono::seconds(2));
}

void InputEventTapThread::start(std::chrono::nanoseconds limit)
{
    try {
        thread_ = std::make_unique<NamedThread>(
            "glimto.capture.input-events", stackBytes, [core = core_] { core->installTapAndRun(); });
    } catch (const std::exception& error) {
        core_->standardError.writeLine(
            std::string("warning: ") + error.what() + "; event track will be empty");
        return;
    }
    core_->isInstalled.waitFor(limit, [](bool installed) { return installed; });
}

void InputEventTapThread::stop(std::chrono::nanoseconds limit)
{
    core_->requestStop();
    if (!thread_)
        return;
    thread_->joinWithin(limit);
    thread_.reset();
}

} // namespace glimto
