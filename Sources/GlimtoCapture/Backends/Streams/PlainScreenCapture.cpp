#include "Backends/Streams/PlainScreenCapture.h"

#include <utility>

namespace glimto {

namespace {

class PlainOpening final : public CaptureOpening {
public:
    PlainOpening(PlainScreenCapture::Open how, const CaptureRequest& request)
        : open_(how)
        , request_(request)
    {
    }

    OpenedCapture open() override { return open_(request_); }
    void giveUp() noexcept override { }

private:
    PlainScreenCapture::Open open_;
    CaptureRequest request_;
};

} // namespace

std::shared_ptr<CaptureOpening> PlainScreenCapture::makeOpening(const CaptureRequest& request)
{
    return std::make_shared<PlainOpening>(open_, request);
}

OpenedCapture openedAsAsked(const CaptureRequest& request, std::shared_ptr<CaptureStream> stream)
{
    OpenedCapture opened;
    opened.stream = std::move(stream);
    opened.facts = request.expected;
    opened.facts.width = request.configuration.width;
    opened.facts.height = request.configuration.height;
    return opened;
}

} // namespace glimto
