// "manifest.json" of a take through the rewriting of its keys: what is taken comes back the same when it is
// read again, but for the prefix of its keys.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "FuzzInput.h"
#include "Support/Errors.h"
#include "Support/JSONText.h"
#include "Upload/UploadManifest.h"

namespace {

using namespace glimto;

void checkManifest(std::string_view text)
{
    const auto manifest = decodeMediaManifest(text);
    const auto encoded = encodePrettyJSON(toJSON(manifest));
    require(encodePrettyJSON(toJSON(decodeMediaManifest(encoded))) == encoded);
    const auto rewritten = rewritingObjectKeys(manifest, "org/rec");
    require(rewritten.playlistKey.starts_with("org/rec/segments/"));
    for (const auto& segment : rewritten.segments) {
        require(segment.relativeKey.starts_with("org/rec/segments/"));
        require(segment.relativeKey.find("/../") == std::string::npos);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    try {
        checkManifest({reinterpret_cast<const char*>(bytes), size});
    } catch (const Error&) {
        // Refused.
    }
    return 0;
}
