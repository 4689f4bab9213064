#include "Composition/SessionWindowSystem.h"

#include <exception>
#include <utility>

#include "Composition/UnavailableWindowSystem.h"

namespace glimto {

SessionWindowSystem::SessionWindowSystem(std::vector<Way> ways, Listener listener)
    : ways_(std::move(ways))
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

} // namespace glimto
