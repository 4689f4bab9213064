#include "Backends/X11/Pictures/X11ScreenCapture.h"

#include "Backends/X11/Pictures/X11CaptureStream.h"

namespace glimto {

namespace {

class X11CaptureOpening final : public CaptureOpening {
public:
    explicit X11CaptureOpening(const CaptureRequest& request)
        : request_(request)
    {
    }

    OpenedCapture open() override
    {
        OpenedCapture opened;
        opened.stream = std::make_shared<X11CaptureStream>(request_.filter, request_.configuration);
        opened.facts = request_.expected;
        opened.facts.width = request_.configuration.width;
        opened.facts.height = request_.configuration.height;
        return opened;
    }

    // Every answer of the server is waited for with a deadline, so open() ends by itself.
    void giveUp() noexcept override { }

private:
    CaptureRequest request_;
};

} // namespace

std::shared_ptr<CaptureOpening> X11ScreenCapture::makeOpening(const CaptureRequest& request)
{
    return std::make_shared<X11CaptureOpening>(request);
}

} // namespace glimto
