#pragma once

#include <memory>
#include <string>

#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"
#include "Platform/Geometry.h"

namespace glimto {

// What a capture shows, how large, and where that lies.
struct CaptureFacts {
    int width = 0; // pixels of every frame, at least 1
    int height = 0;
    std::string description; // for people: "screen:0", "window:7 Editor notes.txt"
    Rect globalFrame; // what is captured, in global display points
    double pointScale = 1; // pixels a point, finite and greater than 0

    friend bool operator==(const CaptureFacts&, const CaptureFacts&) = default;
};

struct CaptureRequest {
    ContentFilter filter;
    CaptureStreamConfiguration configuration;

    // What the caller expects to get, as far as the snapshot tells that the filter was made from.
    CaptureFacts expected;
};

// A capture that is open and waits for its start.
struct OpenedCapture {
    // Not started. Shared by the session and the threads that start and stop it for the session.
    std::shared_ptr<CaptureStream> stream;

    // What was really opened; it holds for as long as the stream runs. Where the user picked something else
    // than what was asked for, this is it, in its own size.
    CaptureFacts facts;

    // Whether the wishes of the request are met. A system that cannot do so opens all the same, and the
    // session warns of it.
    bool hidesApplications = true;
    bool obeysCursorWish = true;
};

// The opening of one capture: everything that can be refused, asked of the user or found missing comes to
// light here, before anything is written.
class CaptureOpening {
public:
    virtual ~CaptureOpening() = default;

    // Opens it, on any thread, once. May take minutes where the user is asked. Throws PlatformError when the
    // content cannot be captured or is already gone, and captureDeclined() when the user says no.
    virtual OpenedCapture open() = 0;

    // The capture is no longer wanted. open() ends soon with any error; a question is taken back from the
    // screen. Any thread, at any time; returns at once.
    virtual void giveUp() noexcept = 0;
};

// Opens captures of the screen.
class ScreenCapture {
public:
    virtual ~ScreenCapture() = default;

    // Does nothing yet. Owned by the caller and by the thread that opens, which may be let go of.
    virtual std::shared_ptr<CaptureOpening> makeOpening(const CaptureRequest& request) = 0;
};

} // namespace glimto
