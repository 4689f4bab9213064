#include "Backends/Streams/PlainScreenCapture.h"

namespace glimto {

namespace {

class PlainOpening final : public CaptureOpening {
public:
    PlainOpening(
        PlainScreenCapture::OpenStream openStream, bool hidesApplications, const CaptureRequest& request)
        : openStream_(openStream)
        , hidesApplications_(hidesApplications)
        , request_(request)
    {
    }

    OpenedCapture open() override
    {
        OpenedCapture opened;
        opened.stream = openStream_(request_.filter, request_.configuration);
        opened.facts = request_.expected;
        opened.facts.width = request_.configuration.width;
        opened.facts.height = request_.configuration.height;
        opened.hidesApplications = hidesApplications_;
        return opened;
    }

    void giveUp() noexcept override { }

private:
    PlainScreenCapture::OpenStream openStream_;
    bool hidesApplications_;
    CaptureRequest request_;
};

} // namespace

std::shared_ptr<CaptureOpening> PlainScreenCapture::makeOpening(const CaptureRequest& request)
{
    return std::make_shared<PlainOpening>(openStream_, applications_ == Applications::canBeHidden, request);
}

} // namespace glimto
