#include "RecordingKeys.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Support/Text.h"

namespace glimto {

namespace {

constexpr std::size_t longestPiece = 128;
constexpr std::size_t longestKey = 512;

bool isKeyCharacter(char character)
{
    return isAlphanumeric(character) || std::string_view("._=@-").find(character) != std::string_view::npos;
}

bool isPiece(std::string_view piece)
{
    return !piece.empty() && piece.size() <= longestPiece && piece != "." && piece != ".."
        && std::all_of(piece.begin(), piece.end(), isKeyCharacter);
}

} // namespace

bool isRecordingId(std::string_view id)
{
    return isPiece(id);
}

bool isObjectKey(std::string_view key)
{
    return key.size() <= longestKey && std::ranges::all_of(pieces(key, '/'), isPiece);
}

std::string objectPrefix(const std::string& recordingId)
{
    return std::string("organizations/") + devOrganizationId + "/recordings/" + recordingId;
}

std::string contentTypeOfKey(std::string_view key)
{
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 5> types = {{
        {".m3u8", "application/vnd.apple.mpegurl"},
        {".m4s", "video/iso.segment"},
        {".mp4", "video/mp4"},
        {".json", "application/json"},
        {".jpg", "image/jpeg"},
    }};
    for (const auto& [ending, type] : types) {
        if (key.ends_with(ending))
            return std::string(type);
    }
    return "application/octet-stream";
}

} // namespace glimto
