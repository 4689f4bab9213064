#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <poll.h>

#include "Backends/InputDevices/PointerDevice.h"

namespace glimto {

// The mice and touchpads of this machine that the user may read, by default nobody and by membership of the
// group "input". One thread at a time. Nothing here throws but for memory.
class PointerDevices {
public:
    using Opening = FileDescriptor (*)(const std::string& path);

    explicit PointerDevices(std::filesystem::path folder = "/dev/input", Opening opening = openPointerDevice);

    // Opens those that were plugged in since the last look.
    void look();

    bool isEmpty() const;

    // What to wait for.
    void addTo(std::vector<pollfd>& entries) const;

    // What has come, without places: each device's in order of time. Devices that are gone are let go.
    std::vector<InputEvent> take();

private:
    std::filesystem::path folder_;
    Opening opening_;
    std::map<std::string, std::optional<PointerDevice>> devices_; // by file name; empty for other devices
};

} // namespace glimto
