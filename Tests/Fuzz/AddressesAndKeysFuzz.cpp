// Any text as an address of the web, as part of one, and as an object key: what is taken stays where it
// belongs.

#include <algorithm>
#include <filesystem>
#include <string>

#include "FuzzInput.h"
#include "Support/Errors.h"
#include "Support/WebAddress.h"
#include "Upload/ObjectKeys.h"

namespace {

using namespace glimto;

bool isPlain(char character)
{
    return character > ' ' && character < 0x7f && character != '/' && character != '?' && character != '#';
}

void checkAddress(std::string_view text)
{
    const auto segment = percentEncodedPathSegment(text);
    require(std::all_of(segment.begin(), segment.end(), isPlain));
    if (!isWebAddress(text))
        return;
    require(text.find_first_of(" \t\r\n\\") == text.npos);
    const auto longer = appendingPathSegments(text, {"recordings", text});
    require(isWebAddress(longer));
    require(
        longer.size() > text.size() && pathOfWebAddress(longer).find("/recordings/") != std::string::npos);
}

void checkKey(std::string_view text)
{
    const auto key = normalizeObjectRelativeKey(text);
    require(normalizeObjectRelativeKey(key) == key);
    require(relativeObjectKey(objectKeyOf("org/rec", key), "org/rec") == key);
    const auto path = fileURL("/take", key).path();
    require(path.lexically_normal() == path && path.string().starts_with("/take/"));
    require(normalizeLocalArtifactKey(text).starts_with("segments/"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const auto text = fuzzText(bytes, size);
    checkAddress(text);
    try {
        checkKey(text);
    } catch (const CLIError& error) {
        require(std::string_view(error.what()).size() > 1);
    }
    return 0;
}
