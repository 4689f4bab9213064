#pragma once

namespace glimto {

enum class ScreenCaptureWindowListScope { visible, all };

struct WindowListOptions {
    ScreenCaptureWindowListScope scope = ScreenCaptureWindowListScope::visible;
    bool includeEnumeration = false;
};

} // namespace glimto
