#pragma once

#include <memory>
#include <string>
#include <vector>

#include "picture/Canvas.h"

namespace glimto {

// What a screen shows, drawn from the picture's number alone: the same each time that it is asked for.
class Scene {
public:
    static constexpr int picturesPerSecond = 30;

    virtual ~Scene() = default;

    // Draws picture `number`, which follows the one drawn before (from 0 on), over it, and tells where it
    // may differ from that one.
    virtual std::vector<PixelRect> draw(int number, Canvas& screen) = 0;
};

// What makeScene() takes.
std::vector<std::string> sceneNames();

// Null when there is no such scene. The screen has 640x360 pixels at least.
std::unique_ptr<Scene> makeScene(const std::string& name, int width, int height);

} // namespace glimto
