#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Geometry.h"

struct sd_bus_message;

namespace glimto {

// The kinds of source and the ways to show the pointer, bits as the interface numbers them
// (org.freedesktop.portal.ScreenCast).
enum class PortalSourceKind : std::uint32_t { monitor = 1, window = 2 };
enum class PortalCursorMode : std::uint32_t { hidden = 1, embedded = 2, metadata = 4 };

// What the portal can do, as its properties say.
struct PortalAbilities {
    std::uint32_t version = 0;
    std::uint32_t sourceKinds = 0;
    std::uint32_t cursorModes = 0;

    bool has(PortalSourceKind kind) const { return (sourceKinds & static_cast<std::uint32_t>(kind)) != 0; }
    bool has(PortalCursorMode mode) const { return (cursorModes & static_cast<std::uint32_t>(mode)) != 0; }
};

// A stream that the user let us have. What the portal did not tell, or told nonsense, is absent.
struct PortalStream {
    std::uint32_t nodeID = 0; // in PipeWire
    std::optional<Point> position; // in global display points
    std::optional<Point> size; // in points: width and height, at least 1
    std::optional<std::uint32_t> sourceKind;
};

// How a question to the portal came out.
struct PortalResponse {
    enum class Outcome { success, cancelled, failed };
    Outcome outcome = Outcome::failed;
    std::string sessionHandle; // an object path, else empty
    std::string restoreToken; // empty when there is none
    std::vector<PortalStream> streams;
};

// Of a "Response" signal. Throws PlatformError when the message is none.
PortalResponse portalResponse(sd_bus_message* message);

// Of the answer to GetAll. Throws PlatformError when the message is none.
PortalAbilities portalAbilities(sd_bus_message* message);

} // namespace glimto
