#pragma once

#include "picture/Painting.h"
#include "picture/Scenes.h"

namespace glimto {

// A slow zoom over a sharp photo.
class ZoomScene final : public Scene {
public:
    ZoomScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas photo_;
};

// The same over one without edges.
class SoftZoomScene final : public Scene {
public:
    SoftZoomScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas photo_;
};

// A photo panned by fractions of a pixel.
class PanScene final : public Scene {
public:
    PanScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas photo_;
};

// A film of 24 pictures a second with grain, in a window over a desktop that stands still: a camera that
// moves, something that turns before it, a cut after two seconds.
class FilmScene final : public Scene {
public:
    FilmScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas background_;
    Canvas actor_;
    Canvas desktop_;
};

// The whole screen in motion: a background that glides, things that turn, fly and grow, a line of text.
class MixedScene final : public Scene {
public:
    MixedScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas background_;
    Canvas things_;
};

// Slides with photos, each for 0.8 seconds.
class CutsScene final : public Scene {
public:
    CutsScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    int width_;
    int height_;
};

// A zoom into the edge of the Mandelbrot set.
class FractalScene final : public Scene {
public:
    FractalScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;
};

} // namespace glimto
