#pragma once

#include <vector>

#include "picture/Painting.h"
#include "picture/Scenes.h"

namespace glimto {

// A fast flight through a winding tunnel with painted walls, which get dark far away.
class TunnelScene final : public Scene {
public:
    TunnelScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas wall_;
};

// A sharp photo under moving water: everything trembles, each part in its own way.
class WaterScene final : public Scene {
public:
    WaterScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas ground_;
};

// Flakes that fall at speeds of their own before a slow camera.
class SnowScene final : public Scene {
public:
    SnowScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas background_;
};

// Two layers of smoke that drift through each other.
class SmokeScene final : public Scene {
public:
    SmokeScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas near_;
    Canvas far_;
};

} // namespace glimto
