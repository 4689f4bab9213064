#pragma once

#include <optional>
#include <string>

#include "Platform/StopRequests.h"

namespace glimto {

// A wish to stop that the test makes by setting `request`.
class FakeStopRequests final : public StopRequests {
public:
    void beginListening() override { isListening = true; }
    void endListening() override { isListening = false; }
    std::optional<std::string> pendingRequest() override { return request; }

    bool isListening = false;
    std::optional<std::string> request;
};

} // namespace glimto
