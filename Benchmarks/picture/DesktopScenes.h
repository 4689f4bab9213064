#pragma once

#include "picture/Painting.h"
#include "picture/Scenes.h"

namespace glimto {

// Twenty characters a second into an editor with coloured text.
class TypingScene final : public Scene {
public:
    TypingScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas desktop_;
    std::string text_;
    int column_ = 0;
    int line_ = 0;
};

// A terminal that a log runs through, five lines at a time.
class LogScene final : public Scene {
public:
    LogScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Dice dice_{11};
};

// A long page of text, headings and pictures scrolled in a browser, with rests.
class PageScene final : public Scene {
public:
    PageScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas page_;
    int lastOffset_ = -1;
};

// A window dragged about over a desktop.
class DragScene final : public Scene {
public:
    DragScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas desktop_;
    Canvas window_;
    PixelRect last_;
};

// A map dragged about with the mouse, which it comes after more and more slowly.
class MapScene final : public Scene {
public:
    MapScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas map_;
    PixelRect last_;
};

// Source code scrolled by a wheel, three lines a notch, smoothly.
class CodeScene final : public Scene {
public:
    CodeScene(int width, int height);
    std::vector<PixelRect> draw(int number, Canvas& screen) override;

private:
    Canvas code_;
    int lastOffset_ = -1;
};

} // namespace glimto
