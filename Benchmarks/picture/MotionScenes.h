#pragma once

#include "picture/Painting.h"
#include "picture/Scenes.h"

namespace glimto {

// A game seen from its driver: ground that comes nearer, a sky that turns, things that grow, a score.
class GameScene final : public Scene {
public:
    GameScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    void drawGround(Canvas& screen, int horizon, double seconds, double angle) const;
    static void drawThings(Canvas& screen, int horizon, double seconds);

    Canvas ground_;
    Canvas sky_;
};

// Slides that fade into each other or push each other away, with rests.
class FadeScene final : public Scene {
public:
    FadeScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    std::vector<Canvas> slides_;
};

// A slide that turns and shrinks away over another one, again and again, with rests.
class TurnScene final : public Scene {
public:
    TurnScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas leaving_;
    Canvas below_;
};

// A call in a window beside a document: somebody who moves a little before a noisy wall.
class CallScene final : public Scene {
public:
    CallScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas face_;
    Canvas document_;
};

} // namespace glimto
