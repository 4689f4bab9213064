#pragma once

#include <optional>
#include <span>
#include <vector>

#include "Platform/Geometry.h"

namespace glimto {

// What one raw event tells about the pointer's place, in pixels of the root.
struct X11Motion {
    enum class Kind {
        none, // a button, say
        relative,
        absolute,
        either, // a test client's device moves both ways and does not say which
    };
    Kind kind = Kind::none;
    std::optional<double> x;
    std::optional<double> y;
};

// Where one pointer was at each of its events.
//
// Raw events carry no position, only steps, and a program that sets the pointer down elsewhere sends no
// event at all. So the server is asked from time to time, and the steps between two answers are fitted
// to both.
class X11PointerTrack {
public:
    X11PointerTrack(int width, int height);

    // The size of the root, which positions do not leave.
    void setScreenSize(int width, int height);

    // The whole pixel where the pointer was after each event since the last answer; the last ones agree
    // with `answer`, what the server said after them. Without an answer the steps alone decide.
    //
    // Steps that do not lead from the last answer to this one mean that the pointer was set down
    // elsewhere meanwhile; that is taken to have happened before the first event.
    std::vector<Point> follow(std::span<const X11Motion> motions, std::optional<Point> answer);

private:
    std::vector<Point> walk(Point start, std::span<const X11Motion> motions, std::size_t absoluteCount) const;
    std::optional<std::vector<Point>> explained(std::span<const X11Motion> motions, Point answer) const;
    Point startFor(std::span<const X11Motion> motions, Point answer) const;
    Point clamped(Point point) const;

    double right_;
    double bottom_;
    std::optional<Point> last_; // with fractions of a pixel
};

} // namespace glimto
