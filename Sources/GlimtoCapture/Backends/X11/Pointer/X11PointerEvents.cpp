#include "Backends/X11/Pointer/X11PointerEvents.h"

#include <algorithm>
#include <utility>

namespace glimto {

namespace {

// Sequence numbers start anew after 2^32.
bool comesBefore(std::uint32_t sequence, std::uint32_t other)
{
    return static_cast<std::int32_t>(sequence - other) < 0;
}

} // namespace

X11PointerEvents::X11PointerEvents(int width, int height)
    : width_(width)
    , height_(height)
{
}

void X11PointerEvents::setScreenSize(int width, int height)
{
    width_ = width;
    height_ = height;
    for (auto& [id, pointer] : pointers_)
        pointer.track.setScreenSize(width, height);
}

void X11PointerEvents::add(const X11PointerEvent& event)
{
    waiting_.push_back(event);
}

X11PointerEvents::Pointer& X11PointerEvents::pointer(X11PointerID id)
{
    return pointers_.try_emplace(id, Pointer{X11PointerTrack(width_, height_), {}, {}}).first->second;
}

void X11PointerEvents::settle(
    std::uint32_t sequence, std::int64_t askedAt, const std::vector<X11PointerAnswer>& answers)
{
    const auto end = std::ranges::find_if(
        waiting_, [sequence](const auto& event) { return !comesBefore(event.sequence, sequence); });
    settleFirst(static_cast<std::size_t>(end - waiting_.begin()), answers);
    for (const auto& answer : answers) {
        auto& about = pointer(answer.pointer);
        about.buttons.set(answer.leftIsDown, answer.rightIsDown);
        move(about, askedAt, answer.location);
    }
}

void X11PointerEvents::settleUnanswered()
{
    settleFirst(waiting_.size(), {});
}

void X11PointerEvents::settleFirst(std::size_t count, const std::vector<X11PointerAnswer>& answers)
{
    std::map<X11PointerID, std::vector<X11Motion>> motions;
    for (const auto& answer : answers)
        motions[answer.pointer];
    for (std::size_t index = 0; index < count; ++index)
        motions[waiting_[index].pointer].push_back(waiting_[index].motion);

    std::map<X11PointerID, std::deque<Point>> paths;
    for (const auto& [id, steps] : motions) {
        const auto answer = std::ranges::find(answers, id, &X11PointerAnswer::pointer);
        const auto place = answer == answers.end() ? std::nullopt : std::optional(answer->location);
        const auto path = pointer(id).track.follow(steps, place);
        paths[id].assign(path.begin(), path.end());
    }
    for (std::size_t index = 0; index < count; ++index) {
        auto& path = paths[waiting_[index].pointer];
        settleOne(waiting_[index], path.front());
        path.pop_front();
    }
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(count));
}

void X11PointerEvents::settleOne(const X11PointerEvent& event, Point location)
{
    move(pointer(event.pointer), event.hostNs, location);
    if (event.kind == X11PointerEvent::Kind::motion) {
        if (!event.scroll.isZero())
            emit(InputEventType::scrollWheel, event.hostNs, location, event.scroll);
    } else {
        settleButton(event, location);
    }
}

void X11PointerEvents::settleButton(const X11PointerEvent& event, Point location)
{
    auto& buttons = pointer(event.pointer).buttons;
    const bool isPress = event.kind == X11PointerEvent::Kind::press;
    if (const auto type = isPress ? buttons.press(event.button) : buttons.release(event.button))
        emit(*type, event.hostNs, location);
    const auto lines = x11WheelLines(event.button);
    if (isPress && !lines.isZero())
        emit(InputEventType::scrollWheel, event.hostNs, location, lines);
}

// The first place that is known of a pointer is no move.
void X11PointerEvents::move(Pointer& pointer, std::int64_t hostNs, Point location)
{
    const auto before = std::exchange(pointer.shown, location);
    if (before && *before != location)
        emit(pointer.buttons.move(), hostNs, location);
}

void X11PointerEvents::emit(InputEventType type, std::int64_t hostNs, Point location, X11ScrollLines lines)
{
    lastTime_ = std::max(lastTime_, hostNs);
    settled_.push_back({
        .type = type,
        .hostNs = lastTime_,
        .globalLocation = location,
        .scrollDeltaY = lines.y,
        .scrollDeltaX = lines.x,
    });
}

std::vector<InputEvent> X11PointerEvents::take()
{
    return std::exchange(settled_, {});
}

} // namespace glimto
