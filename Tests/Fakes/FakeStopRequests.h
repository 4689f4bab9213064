#pragma once

#include <chrono>
#include <filesystem>
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
    void watch(const std::filesystem::path& file) override { watched = file; }
    void wait(std::chrono::nanoseconds) override { ++waits; }

    bool isListening = false;
    bool wasPassedOn = false; // the process would have ended, if the request was a signal
    std::optional<std::string> request;
    std::optional<std::filesystem::path> watched;
    int waits = 0;
};

} // namespace glimto
