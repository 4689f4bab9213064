#include "Composition/SessionWindowSystem.h"

#include <exception>
#include <utility>

#include "Composition/UnavailableWindowSystem.h"

namespace glimto {

SessionWindowSystem::SessionWindowSystem(
    std::vector<Way> ways, std::unique_ptr<WindowSystem> besides, Listener listener)
    : ways_(std::move(ways))
    , besides_(std::move(besides))
    , listener_(std::move(listener))
{
}

WindowSystem& SessionWindowSystem::chosen() const
{
    return choosing_.sync([this]() -> WindowSystem& {
        if (!chosen_)
            chosen_ = &choose();
        return *chosen_;
    });
}

WindowSystem& SessionWindowSystem::choose() const
{
    std::string obstacles;
    for (const Way& way : ways_) {
        std::string obstacle;
        try {
            WindowSystem& system = way.open();
            const ScreenCaptureAccess access = system.access().preflightScreenCaptureAccess();
            if (access.allowsOpening()) {
                listener_(way.name + " is the way to the screen: " + system.name() + ".");
                return system;
            }
            obstacle = access.obstacle;
        } catch (const std::exception& error) {
            obstacle = error.what();
        }
        listener_(way.name + " is no way to the screen: " + obstacle);
        obstacles += (obstacles.empty() ? "" : " ") + obstacle;
    }
    none_ = std::make_unique<UnavailableWindowSystem>(obstacles);
    return *none_;
}

std::optional<std::string> SessionWindowSystem::FirstPasteboard::setPNG(std::span<const std::byte> data)
{
    std::string obstacles;
    // Whether it is done.
    const auto attempt = [&](const std::function<WindowSystem&()>& open) {
        std::string obstacle;
        try {
            const auto answer = open().pasteboard().setPNG(data);
            if (!answer)
                return true;
            obstacle = *answer;
        } catch (const std::exception& error) {
            obstacle = error.what();
        }
        // Several ways may lead to the same clipboard.
        if (obstacles.find(obstacle) == std::string::npos)
            obstacles += (obstacles.empty() ? "" : " ") + obstacle;
        return false;
    };
    for (const Way& way : session_.ways_) {
        if (attempt(way.open))
            return std::nullopt;
    }
    if (session_.besides_ && attempt([&]() -> WindowSystem& { return *session_.besides_; }))
        return std::nullopt;
    return obstacles;
}

} // namespace glimto
