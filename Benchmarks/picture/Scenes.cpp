#include "picture/Scenes.h"

#include <functional>
#include <map>

#include "picture/DesktopScenes.h"
#include "picture/FilmScenes.h"
#include "picture/MotionScenes.h"
#include "picture/NatureScenes.h"

namespace glimto {

namespace {

using Maker = std::function<std::unique_ptr<Scene>(int width, int height)>;

template <typename Type> Maker maker()
{
    return [](int width, int height) { return std::make_unique<Type>(width, height); };
}

const std::map<std::string, Maker>& makers()
{
    static const std::map<std::string, Maker> all = {
        {"call", maker<CallScene>()},
        {"code", maker<CodeScene>()},
        {"cuts", maker<CutsScene>()},
        {"drag", maker<DragScene>()},
        {"fade", maker<FadeScene>()},
        {"film", maker<FilmScene>()},
        {"fractal", maker<FractalScene>()},
        {"game", maker<GameScene>()},
        {"log", maker<LogScene>()},
        {"map", maker<MapScene>()},
        {"mixed", maker<MixedScene>()},
        {"page", maker<PageScene>()},
        {"pan", maker<PanScene>()},
        {"smoke", maker<SmokeScene>()},
        {"snow", maker<SnowScene>()},
        {"soft-zoom", maker<SoftZoomScene>()},
        {"tunnel", maker<TunnelScene>()},
        {"turn", maker<TurnScene>()},
        {"typing", maker<TypingScene>()},
        {"water", maker<WaterScene>()},
        {"zoom", maker<ZoomScene>()},
    };
    return all;
}

} // namespace

std::vector<std::string> sceneNames()
{
    std::vector<std::string> names;
    for (const auto& [name, make] : makers())
        names.push_back(name);
    return names;
}

std::unique_ptr<Scene> makeScene(const std::string& name, int width, int height)
{
    const auto found = makers().find(name);
    return found == makers().end() ? nullptr : found->second(width, height);
}

} // namespace glimto
