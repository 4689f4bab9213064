#pragma once

#include <string>
#include <string_view>

namespace glimto {

inline constexpr const char* devOrganizationId = "local";

// Whether `id` may name a recording: 1 to 128 letters, digits and "._=@-", and neither "." nor "..".
bool isRecordingId(std::string_view id);

// Whether `key` names an object and can leave no directory: pieces as above, joined by single slashes, at
// most 512 characters in all.
bool isObjectKey(std::string_view key);

// "organizations/local/recordings/<id>", what all object keys of a recording begin with.
std::string objectPrefix(const std::string& recordingId);

// The media type that the object's name tells.
std::string contentTypeOfKey(std::string_view key);

} // namespace glimto
