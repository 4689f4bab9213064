#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Platform/EventTap.h"
#include "Support/FileDescriptor.h"

struct input_event;

namespace glimto {

// A mouse or touchpad of this machine at `path` ("/dev/input/event3"), opened so that the kernel tells this
// process of the left and right button and of the wheels alone, at times of the host clock: no keys, whatever
// keys the device has, and no moves. Empty where the user may not read it (errno is EACCES), it has no such
// button, or the kernel tells no part alone (before Linux 4.4).
FileDescriptor openPointerDevice(const std::string& path);

// What one device tells. One thread at a time.
class PointerDevice {
public:
    // `descriptor` does not block.
    explicit PointerDevice(FileDescriptor descriptor)
        : descriptor_(std::move(descriptor))
    {
    }

    int fileDescriptor() const { return descriptor_.get(); }

    // Appends what has come, in order of time, without places. False once the device is gone.
    bool read(std::vector<InputEvent>& events);

private:
    enum Button : std::size_t { left, right };
    struct Wheels {
        double y = 0; // lines since the last report
        double x = 0;
    };

    void take(const input_event& event, std::vector<InputEvent>& events);
    void turn(const input_event& event);
    void press(Button button, bool isDown, HostTime time, std::vector<InputEvent>& events);
    void finishReport(HostTime time, std::vector<InputEvent>& events);

    FileDescriptor descriptor_;
    std::array<bool, 2> isDown_ = {};
    Wheels wheels_;
    bool hasLost_ = false; // events, since the last report
};

} // namespace glimto
