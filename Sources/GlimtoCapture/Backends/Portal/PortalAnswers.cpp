#include "Backends/Portal/PortalAnswers.h"

#include <cstring>
#include <functional>

#include <systemd/sd-bus.h>

#include "Backends/Portal/PortalErrors.h"

namespace glimto {

namespace {

// Longer ones are not kept: they would be written to a file and sent back.
constexpr std::size_t longestToken = 4096;
constexpr std::size_t mostStreams = 64;
constexpr int largestCoordinate = 1'000'000;
constexpr int largestSide = 65'536;

void require(int result)
{
    if (result < 0)
        throw portalError(PortalFailure::badAnswer,
            std::string("The desktop portal's answer makes no sense: ") + std::strerror(-result));
}

// Calls `onEntry` with each key; it reads the value, or skips it.
void readDictionary(sd_bus_message* message, const std::function<void(const char* key)>& onEntry)
{
    require(sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sv}"));
    for (;;) {
        const int result = sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv");
        require(result);
        if (result == 0)
            break;
        const char* key = nullptr;
        require(sd_bus_message_read(message, "s", &key));
        onEntry(key);
        require(sd_bus_message_exit_container(message));
    }
    require(sd_bus_message_exit_container(message));
}

// Whether the variant that comes next holds `type`.
bool holds(sd_bus_message* message, const char* type)
{
    char kind = 0;
    const char* contents = nullptr;
    require(sd_bus_message_peek_type(message, &kind, &contents));
    return kind == SD_BUS_TYPE_VARIANT && contents && std::strcmp(contents, type) == 0;
}

void skipVariant(sd_bus_message* message)
{
    require(sd_bus_message_skip(message, "v"));
}

std::optional<std::uint32_t> readNumber(sd_bus_message* message)
{
    if (!holds(message, "u")) {
        skipVariant(message);
        return std::nullopt;
    }
    std::uint32_t value = 0;
    require(sd_bus_message_read(message, "v", "u", &value));
    return value;
}

// An object path may come as what it is or as a string.
std::string readText(sd_bus_message* message)
{
    const char* type = holds(message, "s") ? "s" : holds(message, "o") ? "o" : nullptr;
    if (!type) {
        skipVariant(message);
        return {};
    }
    const char* text = nullptr;
    require(sd_bus_message_read(message, "v", type, &text));
    return text;
}

std::optional<Point> readPair(sd_bus_message* message)
{
    if (!holds(message, "(ii)")) {
        skipVariant(message);
        return std::nullopt;
    }
    int first = 0;
    int second = 0;
    require(sd_bus_message_read(message, "v", "(ii)", &first, &second));
    return Point{static_cast<double>(first), static_cast<double>(second)};
}

bool isWithin(double value, double smallest, double largest)
{
    return value >= smallest && value <= largest;
}

PortalStream readStream(sd_bus_message* message)
{
    PortalStream stream;
    require(sd_bus_message_read(message, "u", &stream.nodeID));
    readDictionary(message, [&](const char* key) {
        if (std::strcmp(key, "position") == 0)
            stream.position = readPair(message);
        else if (std::strcmp(key, "size") == 0)
            stream.size = readPair(message);
        else if (std::strcmp(key, "source_type") == 0)
            stream.sourceKind = readNumber(message);
        else
            skipVariant(message);
    });
    if (stream.position
        && !(isWithin(stream.position->x, -largestCoordinate, largestCoordinate)
            && isWithin(stream.position->y, -largestCoordinate, largestCoordinate)))
        stream.position.reset();
    if (stream.size
        && !(isWithin(stream.size->x, 1, largestSide) && isWithin(stream.size->y, 1, largestSide)))
        stream.size.reset();
    return stream;
}

std::vector<PortalStream> readStreams(sd_bus_message* message)
{
    std::vector<PortalStream> streams;
    if (!holds(message, "a(ua{sv})")) {
        skipVariant(message);
        return streams;
    }
    require(sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, "a(ua{sv})"));
    require(sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "(ua{sv})"));
    for (;;) {
        const int result = sd_bus_message_enter_container(message, SD_BUS_TYPE_STRUCT, "ua{sv}");
        require(result);
        if (result == 0)
            break;
        auto stream = readStream(message);
        if (streams.size() < mostStreams)
            streams.push_back(stream);
        require(sd_bus_message_exit_container(message));
    }
    require(sd_bus_message_exit_container(message));
    require(sd_bus_message_exit_container(message));
    return streams;
}

} // namespace

PortalResponse portalResponse(sd_bus_message* message)
{
    PortalResponse response;
    std::uint32_t code = 0;
    require(sd_bus_message_read(message, "u", &code));
    response.outcome = code == 0 ? PortalResponse::Outcome::success
        : code == 1              ? PortalResponse::Outcome::cancelled
                                 : PortalResponse::Outcome::failed;
    readDictionary(message, [&](const char* key) {
        if (std::strcmp(key, "session_handle") == 0)
            response.sessionHandle = readText(message);
        else if (std::strcmp(key, "restore_token") == 0)
            response.restoreToken = readText(message);
        else if (std::strcmp(key, "streams") == 0)
            response.streams = readStreams(message);
        else
            skipVariant(message);
    });
    if (!sd_bus_object_path_is_valid(response.sessionHandle.c_str()))
        response.sessionHandle.clear();
    if (response.restoreToken.size() > longestToken)
        response.restoreToken.clear();
    return response;
}

PortalAbilities portalAbilities(sd_bus_message* message)
{
    PortalAbilities abilities;
    readDictionary(message, [&](const char* key) {
        if (std::strcmp(key, "version") == 0)
            abilities.version = readNumber(message).value_or(0);
        else if (std::strcmp(key, "AvailableSourceTypes") == 0)
            abilities.sourceKinds = readNumber(message).value_or(0);
        else if (std::strcmp(key, "AvailableCursorModes") == 0)
            abilities.cursorModes = readNumber(message).value_or(0);
        else
            skipVariant(message);
    });
    return abilities;
}

} // namespace glimto
