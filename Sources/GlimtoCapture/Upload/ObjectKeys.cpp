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

std::vector<std::string_view> piecesBetweenSlashes(std::string_view text)
{
    std::vector<std::string_view> pieces;
    while (true) {
        const std::size_t end = text.find('/');
        pieces.push_back(text.substr(0, end));
        if (end == std::string_view::npos)
            return pieces;
        text.remove_prefix(end + 1);
    }
}

bool isSafePiece(std::string_view piece)
{
    return std::all_of(piece.begin(), piece.end(), [](char character) {
        const bool isLetter
            = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
        const bool isDigit = character >= '0' && character <= '9';
        constexpr std::string_view others = "._=@-";
        return isLetter || isDigit || others.find(character) != std::string_view::npos;
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
    const auto pieces = piecesBetweenSlashes(rest);
    if (std::any_of(pieces.begin(), pieces.end(), [](std::string_view piece) { return piece.empty(); }))
        fail("Local artifact key must contain non-empty path segments: ", key);
    for (const auto piece : pieces) {
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
    for (const auto& key : instructions.plannedUploads.required)
        keys.insert(relativeObjectKey(key, instructions.objectPrefix));
    for (const auto& key : instructions.plannedUploads.optional)
        keys.insert(relativeObjectKey(key, instructions.objectPrefix));
    return {keys.begin(), keys.end()};
}

FileBelow fileURL(const std::filesystem::path& root, std::string_view relativeKey)
{
    FileBelow file{root, ""};
    for (const auto piece : piecesBetweenSlashes(relativeKey)) {
        if (!piece.empty())
            file.name.append(file.name.empty() ? "" : "/").append(piece);
    }
    return file;
}

} // namespace glimto
