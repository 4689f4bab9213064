#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <pipewire/pipewire.h>

namespace glimto {

// A screen that a test draws on: a stream in PipeWire as a compositor gives it to programs that capture it.
class TestScreen {
public:
    struct Settings {
        int width = 640;
        int height = 480;
        std::string format = "BGRx"; // or BGRA, RGBx, RGBA
        std::string memory = "sealed"; // or "unsealed", or "servers"
        int padding = 0; // bytes behind each row
        int offset = 0; // bytes before the first one
    };
    struct Rect {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
    };

    // `onReady` is told the number of the node once it has one; `log` what happens, a line at a time.
    TestScreen(pw_loop* loop, const Settings& settings, std::function<void(std::uint32_t)> onReady,
        std::function<void(const std::string&)> log);
    ~TestScreen();

    // Every pixel another one.
    void paintPattern(int phase);
    void paint(const Rect& rect, std::uint32_t redGreenBlue);

    // What was painted since the last time goes out, with its place. False when nobody takes it now.
    bool send();
    void sendPointer(int x, int y); // without a picture
    void sendCorrupted(const std::string& how); // "flag", "header", "stride", "offset", "size" or "negative"
    void resize(int width, int height);
    void setCrop(const Rect& crop) { crop_ = crop; }

    bool isStreaming() const { return isStreaming_; }
    int width() const { return settings_.width; }
    int height() const { return settings_.height; }

private:
    struct Handlers;
    struct Memory;

    void connect();
    void offerFormat();
    void formatChanged();
    void addBuffer(pw_buffer* buffer);
    void removeBuffer(pw_buffer* buffer);
    pw_buffer* buffer();
    void setMetadata(pw_buffer* buffer, bool hasPicture);
    int stride() const { return 4 * settings_.width + settings_.padding; }

    pw_loop* loop_;
    Settings settings_;
    std::function<void(std::uint32_t)> onReady_;
    std::function<void(const std::string&)> log_;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    pw_stream* stream_ = nullptr;
    spa_hook hook_ = {};
    std::vector<std::uint8_t> pixels_; // B, G, R, X
    std::vector<Rect> painted_;
    Rect crop_;
    int pointerX_ = -1;
    int pointerY_ = -1;
    bool isReady_ = false;
    bool isStreaming_ = false;
};

} // namespace glimto
