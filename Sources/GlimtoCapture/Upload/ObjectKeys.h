#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Support/FileBelow.h"
#include "Upload/UploadWireFormat.h"

namespace glimto {

// A local key is a path below the take's directory, with slashes. An object key is the prefix that the
// API has assigned, a slash and a local key. Every failure is a CLIError that ends with the key.

// `key` with slashes for backslashes and none at its ends. Throws when a piece between slashes is empty,
// "." or "..", or holds other characters than letters, digits and "._=@-".
//
// Example: "/segments\\a.m4s/" gives "segments/a.m4s".
std::string normalizeObjectRelativeKey(std::string_view key);

// The same for a file that belongs to the media: throws when it does not lie in segments/.
std::string normalizeLocalArtifactKey(std::string_view key);

// `objectKey` without the prefix and its slash, normalized. Throws when it does not begin with them.
std::string relativeObjectKey(std::string_view objectKey, std::string_view objectPrefix);

// The object key of a local one.
std::string objectKeyOf(std::string_view objectPrefix, std::string_view relativeKey);

// Everything the API plans to be uploaded as relative keys, each once, in ascending order.
std::vector<std::string> plannedRelativeUploadKeys(const UploadInstructions& instructions);

// The local file of a relative key.
FileBelow fileURL(const std::filesystem::path& root, std::string_view relativeKey);

} // namespace glimto
