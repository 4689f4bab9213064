#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "InputEvents/EventsDocument.h"

namespace glimto {

inline constexpr std::size_t mostEventsFileBytes = std::size_t{256} << 20U;

// Reads "events.json". Events come out in the order of their times, places within the picture. Throws
// PlatformError (domain "JSON") when it is no such document. Never holds the JSON as a tree.
EventsDocument readEventsDocument(std::string_view text);

// Reads what a killed recording has left in ".events.partial": every event up to the first line that is
// not whole. Absent when not even its heading is. The pointer of such a recording is not in its picture.
std::optional<EventsDocument> readPartialEvents(std::string_view text);

} // namespace glimto
