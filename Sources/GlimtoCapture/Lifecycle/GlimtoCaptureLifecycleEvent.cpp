#include "Lifecycle/GlimtoCaptureLifecycleEvent.h"

#include <cstddef>
#include <utility>

#include "Support/Text.h"

namespace glimto {

namespace {

constexpr std::size_t longestMessage = 2000;

template <typename Value>
void setWhenPresent(nlohmann::json& object, const char* key, const std::optional<Value>& value)
{
    if (value)
        object[key] = *value;
}

} // namespace

GlimtoCaptureEventError::GlimtoCaptureEventError(std::string code_, const ErrorFacts& error)
    : code(std::move(code_))
    , message(prefixOfCodePoints(validUTF8(error.message), longestMessage))
    , type(error.type)
    , domain(error.domain)
    , nsCode(error.code)
{
}

nlohmann::json toJSON(const GlimtoCaptureLifecycleEvent& event)
{
    nlohmann::json object = {
        {"schemaVersion", event.schemaVersion},
        {"type", event.eventType},
        {"kind", event.kind},
        {"timestamp", event.timestamp},
    };
    setWhenPresent(object, "recordingId", event.recordingId);
    setWhenPresent(object, "pageUrl", event.pageUrl);
    setMember(object, "permission", event.permission);
    setMember(object, "error", event.error);
    setWhenPresent(object, "stage", event.stage);
    setWhenPresent(object, "state", event.state);
    setWhenPresent(object, "checkedObjectCount", event.checkedObjectCount);
    setWhenPresent(object, "limitSeconds", event.limitSeconds);
    return object;
}

} // namespace glimto
