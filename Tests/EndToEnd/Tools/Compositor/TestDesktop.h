#pragma once

#include <memory>
#include <string>
#include <vector>

#include <wayland-server.h>

#include "TestSource.h"

namespace glimto {

// An output, told by wl_output and xdg-output.
struct TestOutput {
    TestSource source;
    int x = 0; // points
    int y = 0;
    int scale = 1;
    wl_global* global = nullptr;
    std::vector<wl_resource*> resources;
    std::vector<wl_resource*> placeResources;
};

// A window, told by ext-foreign-toplevel-list.
struct TestWindow {
    TestSource source; // its name is the identifier
    std::string application;
    std::string title;
    bool isClosed = false;
    std::vector<wl_resource*> resources;
};

// The displays and windows of the session.
class TestDesktop {
public:
    explicit TestDesktop(wl_display* display);

    TestOutput& addOutput(std::unique_ptr<TestOutput> output);
    TestWindow& addWindow(std::unique_ptr<TestWindow> window);
    void tellOutput(TestOutput& output); // its size has changed

    // Takes the output or window with that name from the session, before its captures are ended. Throws
    // std::runtime_error when there is none.
    void remove(const std::string& name);

    // Null when there is none.
    TestSource* sourceNamed(const std::string& name);
    TestOutput* outputNamed(const std::string& name);

    // What the resource of an output or window stands for.
    TestSource* sourceOf(wl_resource* resource);

    const std::vector<std::unique_ptr<TestWindow>>& windows() const { return windows_; }

private:
    wl_display* display_;
    std::vector<std::unique_ptr<TestOutput>> outputs_;
    std::vector<std::unique_ptr<TestWindow>> windows_;
};

} // namespace glimto
