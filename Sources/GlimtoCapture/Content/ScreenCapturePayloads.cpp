#include "Content/ScreenCapturePayloads.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Content/CaptureGeometry.h"
#include "Content/ScreenCaptureShareableContent.h"
#include "Support/Errors.h"
#include "Support/JSONText.h"
#include "Support/Text.h"
#include "Support/TimeStamps.h"

namespace glimto {

namespace {

double finiteOrZero(double value)
{
    return std::isfinite(value) ? value : 0;
}

template <typename JSONValue, typename Value>
std::vector<JSONValue> converted(const std::vector<Value>& values, std::size_t count)
{
    std::vector<JSONValue> result;
    result.reserve(count);
    for (std::size_t index = 0; index < count; ++index)
        result.emplace_back(values[index]);
    return result;
}

// The parts that a payload has whether or not the content could be fetched.
ScreenCaptureWindowListPayload emptyPayload(
    ScreenCaptureWindowListScope scope, bool includeEnumeration, ScreenCaptureWindowListPayload::Time now)
{
    ScreenCaptureWindowListPayload payload;
    payload.generatedAt = iso8601Timestamp(now);
    if (includeEnumeration)
        payload.enumeration = contentQuery(scope);
    return payload;
}

} // namespace

ScreenCaptureFrameJSON::ScreenCaptureFrameJSON(const Rect& rect)
    : x(finiteOrZero(rect.x))
    , y(finiteOrZero(rect.y))
    , width(finiteOrZero(rect.width))
    , height(finiteOrZero(rect.height))
{
}

ScreenCaptureDisplayJSON::ScreenCaptureDisplayJSON(const Display& display)
    : id(display.displayID)
    , frame(display.frame)
    , width(display.width)
    , height(display.height)
    , scale(measuredDisplayScale(display))
{
}

ScreenCaptureOwningApplicationJSON::ScreenCaptureOwningApplicationJSON(const Application& application)
    : name(application.applicationName)
    , bundleID(application.bundleIdentifier)
    , pid(application.processID)
{
}

ScreenCaptureWindowJSON::ScreenCaptureWindowJSON(const Window& window)
    : windowID(window.windowID)
    , frame(window.frame)
    , title(trimmedNonEmpty(window.title))
{
    if (window.owningApplication)
        owningApplication.emplace(*window.owningApplication);
}

ScreenCaptureErrorJSON::ScreenCaptureErrorJSON(std::string errorCode, const std::exception& error)
    : code(std::move(errorCode))
{
    const ErrorFacts facts = errorFacts(error);
    message = facts.message;
    type = facts.type;
    domain = facts.domain;
    nsCode = facts.code;
}

ContentQuery contentQuery(ScreenCaptureWindowListScope scope)
{
    return scope == ScreenCaptureWindowListScope::visible
        ? ScreenCaptureShareableContent::pickerWindowCandidatesQuery
        : ScreenCaptureShareableContent::recordingSourcesQuery;
}

ScreenCaptureWindowListPayload ScreenCaptureWindowListPayload::success(const ShareableContent& content,
    ScreenCaptureWindowListScope scope, bool includeEnumeration, bool preflightGranted, Time now)
{
    auto payload = emptyPayload(scope, includeEnumeration, now);
    payload.permission = {preflightGranted ? "granted" : "unknown", preflightGranted};
    payload.displays = converted<ScreenCaptureDisplayJSON>(content.displays, content.displays.size());
    payload.windows = converted<ScreenCaptureWindowJSON>(content.windows, content.windows.size());
    if (content.windowsObstacle)
        payload.error.emplace("sckEnumerationFailed", *content.windowsObstacle);
    return payload;
}

ScreenCaptureWindowListPayload ScreenCaptureWindowListPayload::failure(const std::exception& error,
    ScreenCaptureWindowListScope scope, bool includeEnumeration, bool preflightGranted, Time now)
{
    auto payload = emptyPayload(scope, includeEnumeration, now);
    payload.permission = ScreenCapturePermissionJSON::fromPreflight(preflightGranted);
    payload.error.emplace("sckEnumerationFailed", error);
    return payload;
}

ScreenCaptureWindowResolutionFailurePayload::ScreenCaptureWindowResolutionFailurePayload(
    std::uint32_t windowID, const ShareableContent& content, Time now)
    : generatedAt(iso8601Timestamp(now))
    , selectedWindow{windowID}
    , enumeration(ScreenCaptureShareableContent::recordingSourcesQuery)
    , candidateCount(content.windows.size())
    , truncated(candidateCount > mostCandidateWindows)
    , candidateWindows(
          converted<ScreenCaptureWindowJSON>(content.windows, std::min(candidateCount, mostCandidateWindows)))
{
}

std::string screenCaptureWindowResolutionFailureMessage(
    std::uint32_t windowID, const ShareableContent& content)
{
    return windowResolutionFailureMessage(
        windowID, toJSON(ScreenCaptureWindowResolutionFailurePayload(windowID, content)));
}

std::string windowResolutionFailureMessage(std::uint32_t windowID, const nlohmann::json& payload)
{
    const std::string id = std::to_string(windowID);
    std::string text;
    try {
        text = encodeScreenCaptureJSON(payload);
    } catch (const CLIError&) {
        text = R"({"code":"sckWindowIDNotFound","selectedWindow":{"windowID":)" + id + "}}";
    }
    return "No capturable ScreenCaptureKit window with id " + id
        + ". Try selecting the window again.\nGLIMTO_CAPTURE_ERROR_JSON=" + text;
}

} // namespace glimto
