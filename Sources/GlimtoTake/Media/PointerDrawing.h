#pragma once

struct _cairo;

namespace glimto {

// What is drawn where the pointer is. Places in pixels of the canvas; at scale 1 the arrow is some 24 pixels
// high.

// An arrow whose tip is at (x, y): black with a white edge, a little smaller while a button is pressed.
void drawPointer(_cairo* cairo, double x, double y, double scale, bool isPressed);

// A ring around (x, y) that grows and fades; `age` from 0 to 1.
void drawClickRing(_cairo* cairo, double x, double y, double scale, double age);

// An arrow head beside the pointer: above for a positive amount, below for a negative one. `amount` from -1
// to 1 is also how clearly it is seen.
void drawScrollArrow(_cairo* cairo, double x, double y, double scale, double amount);

// How far from the place the pointer with its arrow head, and a ring, reach at scale 1.
inline constexpr double pointerReach = 40;
inline constexpr double ringReach = 32;

} // namespace glimto
