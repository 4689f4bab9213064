#pragma once

#include <string>
#include <string_view>

#include "Artifacts/MediaManifest.h"

namespace glimto {

// Reads "manifest.json". Throws PlatformError (domain "JSON") when it is none.
MediaManifest decodeMediaManifest(std::string_view text);

// The manifest with every key as an object key below `objectPrefix`; everything else stays. Throws
// CLIError when a key is no local artifact key.
MediaManifest rewritingObjectKeys(MediaManifest manifest, std::string_view objectPrefix);

} // namespace glimto
