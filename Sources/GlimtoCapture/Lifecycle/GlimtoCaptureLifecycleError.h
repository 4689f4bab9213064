#pragma once

#include <optional>
#include <string>
#include <utility>

#include "Platform/ScreenAccess.h"
#include "Support/Errors.h"
#include "Support/LineOutput.h"

namespace glimto {

// A failure with a code that a driving program acts upon, such as "screen_permission_denied". The
// message is the whole sentence the user reads.
class GlimtoCaptureLifecycleError : public Error {
public:
    GlimtoCaptureLifecycleError(std::string code, const std::string& message)
        : Error(message)
        , code_(std::move(code))
    {
    }

    // For a failure that another error caused: its message, type, domain and number are kept.
    GlimtoCaptureLifecycleError(std::string code, ErrorFacts cause)
        : Error(cause.message)
        , code_(std::move(code))
        , cause_(std::move(cause))
    {
    }

    const std::string& code() const { return code_; }
    ErrorFacts facts() const override;

private:
    std::string code_;
    std::optional<ErrorFacts> cause_;
};

// Throws GlimtoCaptureLifecycleError "screen_permission_denied" when the screen may not be captured, and
// tells why on `standardError`.
void requireScreenCaptureAccess(const ScreenCaptureAccess& access, LineOutput& standardError);

} // namespace glimto
