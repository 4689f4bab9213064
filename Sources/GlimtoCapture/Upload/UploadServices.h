#pragma once

#include <memory>

#include "Platform/HTTPTransport.h"
#include "Platform/Service.h"
#include "Platform/StopRequests.h"
#include "Platform/TextPattern.h"
#include "Progress/RecordingFigures.h"
#include "Support/LineOutput.h"
#include "Upload/UploadCancellation.h"
#include "Upload/UploadClock.h"

namespace glimto {

// What an upload asks of the system. The services outlive every upload.
struct UploadServices {
    Service<HTTPTransport> transport;
    Service<TextPatternCompiler> patterns;
    UploadClock& clock;
    StopRequests& stopRequests;
    Outputs outputs;
    std::shared_ptr<RecordingFigures> figures = std::make_shared<RecordingFigures>(); // of the queue

    // Given by the next stop request. For an upload that the thread of the stop requests waits for.
    UploadCancellation interruption() const
    {
        return UploadCancellation(
            [&requests = stopRequests] { return requests.pendingRequest().has_value(); });
    }
};

} // namespace glimto
