#include "Backends/InputDevices/PointerDevices.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <system_error>
#include <utility>

namespace glimto {

namespace {

std::set<std::string> deviceNames(const std::filesystem::path& folder)
{
    std::set<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error)) {
        std::string name = each->path().filename().string();
        if (name.starts_with("event"))
            names.insert(std::move(name));
    }
    return names;
}

} // namespace

PointerDevices::PointerDevices(std::filesystem::path folder, Opening opening)
    : folder_(std::move(folder))
    , opening_(opening)
{
    look();
}

void PointerDevices::look()
{
    const std::set<std::string> names = deviceNames(folder_);
    std::erase_if(devices_, [&](const auto& known) { return !names.contains(known.first); });
    for (const std::string& name : names) {
        if (devices_.contains(name))
            continue;
        FileDescriptor descriptor = opening_((folder_ / name).string());
        // The right to read a new device comes a little after its file.
        if (!descriptor && errno == EACCES)
            continue;
        auto& device = devices_[name];
        if (descriptor)
            device.emplace(std::move(descriptor));
    }
}

bool PointerDevices::isEmpty() const
{
    return std::ranges::none_of(devices_, [](const auto& known) { return known.second.has_value(); });
}

void PointerDevices::addTo(std::vector<pollfd>& entries) const
{
    for (const auto& known : devices_) {
        if (known.second)
            entries.push_back({.fd = known.second->fileDescriptor(), .events = POLLIN, .revents = 0});
    }
}

std::vector<InputEvent> PointerDevices::take()
{
    std::vector<InputEvent> events;
    for (auto& known : devices_) {
        if (known.second && !known.second->read(events))
            known.second.reset();
    }
    return events;
}

} // namespace glimto
