#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <wayland-server.h>

namespace glimto {

class TestSession;

struct TestRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

// Something that has a picture which clients may capture: an output or a window. Lives as long as the
// compositor.
class TestSource {
public:
    std::string name;
    int width = 0; // pixels, as they lie in buffers
    int height = 0;
    std::uint32_t transform = WL_OUTPUT_TRANSFORM_NORMAL;
    std::vector<std::uint32_t> pixels; // X, R, G, B from the highest bits down
    std::optional<TestRect> cursor; // white, where cursors are wished for
    std::vector<std::uint32_t> formats = {WL_SHM_FORMAT_ARGB8888, WL_SHM_FORMAT_XRGB8888};

    // How it misbehaves.
    bool isVague = false; // the next capture tells no damage
    bool isHeld = false; // captures are not answered
    int failures = 0; // so many of the next captures fail
    std::uint32_t failureReason = 0;

    std::set<TestSession*> sessions;
    int captures = 0; // that succeeded
    std::int64_t copiedPixels = 0;

    void paint(const TestRect& rect, std::uint32_t colour);
    void resize(int newWidth, int newHeight, std::uint32_t colour);
    void moveCursor(const TestRect& rect);
    void tellConstraints();
    void didChange(const TestRect& rect);
    void goOn(); // with captures that wait
    int loseFrames(); // that are under way; tells how many
    void stop(); // all sessions
};

// Offers ext-image-copy-capture. `sourceOf` finds what an output's or a window's resource stands for.
void offerCapture(wl_display* display, std::function<TestSource*(wl_resource* resource)> sourceOf);

} // namespace glimto
