#include "Backends/InputDevices/PointerDevice.h"

#include <cerrno>
#include <climits>
#include <cstddef>
#include <initializer_list>
#include <utility>

#include <fcntl.h>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <time.h>
#include <unistd.h>

namespace glimto {

namespace {

// One bit each code of a type of events.
class CodeSet {
public:
    CodeSet() = default;
    CodeSet(std::initializer_list<unsigned> codes)
    {
        for (const unsigned code : codes)
            words_[code / bitsInWord] |= 1UL << (code % bitsInWord);
    }

    bool has(unsigned code) const { return ((words_[code / bitsInWord] >> (code % bitsInWord)) & 1UL) != 0; }

    unsigned long* words() { return words_.data(); }

private:
    static constexpr unsigned bitsInWord = sizeof(unsigned long) * CHAR_BIT;
    std::array<unsigned long, KEY_CNT / bitsInWord> words_ = {};
};
static_assert(KEY_CNT % (sizeof(unsigned long) * CHAR_BIT) == 0 && KEY_CNT >= REL_CNT);

bool hasLeftButton(int device)
{
    CodeSet keys;
    return ::ioctl(device, EVIOCGBIT(EV_KEY, sizeof(CodeSet)), keys.words()) >= 0 && keys.has(BTN_LEFT);
}

// Of the events of `type`, those of `codes` alone; of type EV_SYN the types themselves.
bool hearOnly(int device, unsigned type, CodeSet codes)
{
    input_mask mask = {};
    mask.type = type;
    mask.codes_size = sizeof(CodeSet);
    mask.codes_ptr = reinterpret_cast<std::uintptr_t>(codes.words());
    return ::ioctl(device, EVIOCSMASK, &mask) == 0;
}

bool hearOnlyPointer(int device)
{
    return hearOnly(device, EV_SYN, {EV_KEY, EV_REL}) && hearOnly(device, EV_KEY, {BTN_LEFT, BTN_RIGHT})
        && hearOnly(device, EV_REL, {REL_WHEEL, REL_HWHEEL});
}

bool useHostClock(int device)
{
    int clock = CLOCK_MONOTONIC;
    return ::ioctl(device, EVIOCSCLOCKID, &clock) == 0;
}

// Which keys and buttons are down now; none when the device does not say.
CodeSet codesDown(int device)
{
    CodeSet codes;
    return ::ioctl(device, EVIOCGKEY(sizeof(CodeSet)), codes.words()) >= 0 ? codes : CodeSet();
}

HostTime timeOf(const input_event& event)
{
    return HostTime(
        std::chrono::seconds(event.input_event_sec) + std::chrono::microseconds(event.input_event_usec));
}

} // namespace

FileDescriptor openPointerDevice(const std::string& path)
{
    FileDescriptor device(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!device)
        return device;
    const bool isUsable
        = hasLeftButton(device.get()) && hearOnlyPointer(device.get()) && useHostClock(device.get());
    errno = ENODEV;
    return isUsable ? std::move(device) : FileDescriptor();
}

bool PointerDevice::read(std::vector<InputEvent>& events)
{
    std::array<input_event, 64> told;
    for (;;) {
        const ssize_t count = ::read(descriptor_.get(), told.data(), sizeof(told));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 && errno == EAGAIN;
        for (std::size_t index = 0; index < static_cast<std::size_t>(count) / sizeof(input_event); ++index)
            take(told[index], events);
    }
}

void PointerDevice::take(const input_event& event, std::vector<InputEvent>& events)
{
    if (event.type == EV_SYN && event.code == SYN_DROPPED)
        hasLost_ = true;
    else if (event.type == EV_SYN && event.code == SYN_REPORT)
        finishReport(timeOf(event), events);
    else if (event.type == EV_REL && !hasLost_)
        turn(event);
    else if (event.type == EV_KEY && event.code == BTN_LEFT && !hasLost_)
        press(left, event.value != 0, timeOf(event), events);
    else if (event.type == EV_KEY && event.code == BTN_RIGHT && !hasLost_)
        press(right, event.value != 0, timeOf(event), events);
}

// A wheel that is tilted to the right shows what lies there, so the content moves left.
void PointerDevice::turn(const input_event& event)
{
    if (event.code == REL_WHEEL)
        wheels_.y += event.value;
    else if (event.code == REL_HWHEEL)
        wheels_.x -= event.value;
}

void PointerDevice::press(Button button, bool isDown, HostTime time, std::vector<InputEvent>& events)
{
    if (std::exchange(isDown_[button], isDown) == isDown)
        return;
    InputEvent event;
    event.time = time;
    if (button == left)
        event.type = isDown ? InputEventType::leftMouseDown : InputEventType::leftMouseUp;
    else
        event.type = isDown ? InputEventType::rightMouseDown : InputEventType::rightMouseUp;
    events.push_back(event);
}

void PointerDevice::finishReport(HostTime time, std::vector<InputEvent>& events)
{
    const Wheels wheels = std::exchange(wheels_, {});
    // What was lost of wheels stays lost; buttons tell how they are.
    if (std::exchange(hasLost_, false)) {
        const CodeSet down = codesDown(descriptor_.get());
        press(left, down.has(BTN_LEFT), time, events);
        press(right, down.has(BTN_RIGHT), time, events);
        return;
    }
    if (wheels.x == 0 && wheels.y == 0)
        return;
    InputEvent event;
    event.type = InputEventType::scrollWheel;
    event.time = time;
    event.scrollDeltaY = wheels.y;
    event.scrollDeltaX = wheels.x;
    events.push_back(event);
}

} // namespace glimto
