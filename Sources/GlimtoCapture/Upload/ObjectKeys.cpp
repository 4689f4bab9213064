#include "Upload/ObjectKeys.h"

#include <algorithm>
#include <cstddef>
#include <set>

#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

constexpr std::string_view segmentsPrefix = "segments/";

// Keys come from servers, and a line break in one must not make two lines of an error.
[[noreturn]] void fail(std::string_view message, std::string_view key)
{
    throw CLIError(std::string(message) + excerpt(key));
}

bool isSafePiece(std::string_view piece)
{
    return std::all_of(piece.begin(), piece.end(), [](char character) {
        constexpr std::string_view others = "._=@-";
        return isAlphanumeric(character) || others.find(character) != std::string_view::npos;
    });
}

} // namespace

std::string normalizeObjectRelativeKey(std::string_view key)
{
    std::string text(key);
    std::replace(text.begin(), text.end(), '\\', '/');
    std::string_view rest = text;
    while (rest.starts_with('/'))
        rest.remove_prefix(1);
    while (rest.ends_with('/'))
        rest.remove_suffix(1);
    const auto segments = pieces(rest, '/');
    if (std::ranges::count(segments, std::string_view()) > 0)
        fail("Local artifact key must contain non-empty path segments: ", key);
    for (const auto piece : segments) {
        if (piece == "." || piece == "..")
            fail("Local artifact key cannot contain relative path segments: ", key);
        if (!isSafePiece(piece))
            fail("Local artifact key contains an unsupported path segment: ", key);
    }
    return std::string(rest);
}

std::string normalizeLocalArtifactKey(std::string_view key)
{
    auto normalized = normalizeObjectRelativeKey(key);
    if (!normalized.starts_with(segmentsPrefix))
        fail("Local artifact key must point inside segments/: ", key);
    return normalized;
}

std::string relativeObjectKey(std::string_view objectKey, std::string_view objectPrefix)
{
    const std::string start = std::string(objectPrefix) + "/";
    if (!objectKey.starts_with(start))
        fail("Planned upload key is outside the assigned prefix: ", objectKey);
    return normalizeObjectRelativeKey(objectKey.substr(start.size()));
}

std::string objectKeyOf(std::string_view objectPrefix, std::string_view relativeKey)
{
    return std::string(objectPrefix) + "/" + std::string(relativeKey);
}

std::vector<std::string> plannedRelativeUploadKeys(const UploadInstructions& instructions)
{
    std::set<std::string> keys;
    const auto& planned = instructions.plannedUploads;
    for (const auto* uploads : {&planned.required, &planned.optional}) {
        for (const auto& upload : *uploads)
            keys.insert(relativeObjectKey(upload.key, instructions.objectPrefix));
    }
    return {keys.begin(), keys.end()};
}

FileBelow fileURL(const std::filesystem::path& root, std::string_view relativeKey)
{
    FileBelow file{root, ""};
    for (const auto piece : pieces(relativeKey, '/')) {
        if (!piece.empty())
            file.name.append(file.name.empty() ? "" : "/").append(piece);
    }
    return file;
}

} // namespace glimto
