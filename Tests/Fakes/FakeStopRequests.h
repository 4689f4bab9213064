#pragma once

#include <optional>
#include <string>

#include "Platform/StopRequests.h"

namespace glimto {

// A wish to stop that the test makes by setting `request`.
class FakeStopRequests final : public StopRequests {
public:
    void beginListening() override { isListening = true; }
    void acknowledge() override { request.reset(); }
    void passOn() override { wasPassedOn = true; }
    std::optional<std::string> pendingRequest() override { return request; }

    bool isListening = false;
    bool wasPassedOn = false; // the process would have ended, if the request was a signal
    std::optional<std::string> request;
};

} // namespace glimto
