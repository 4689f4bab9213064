#pragma once

#include "Platform/CaptureOpening.h"

namespace glimto {

// Captures of a window system that asks nobody: what is opened is what was asked for.
class PlainScreenCapture final : public ScreenCapture {
public:
    // Every answer of the system is waited for with a deadline, so this ends by itself. Throws PlatformError.
    using OpenStream
        = std::shared_ptr<CaptureStream> (*)(const ContentFilter&, const CaptureStreamConfiguration&);
    enum class Applications { canBeHidden, areAllShown };

    PlainScreenCapture(OpenStream openStream, Applications applications)
        : openStream_(openStream)
        , applications_(applications)
    {
    }

    std::shared_ptr<CaptureOpening> makeOpening(const CaptureRequest& request) override;

private:
    OpenStream openStream_;
    Applications applications_;
};

} // namespace glimto
