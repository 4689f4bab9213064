// What a desktop's portal answers. The bus lets through only messages that are well-formed, so the bytes
// choose which of those is answered: its types, the keys of its dictionaries, and values of any type behind
// each.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

#include <sys/socket.h>
#include <systemd/sd-bus.h>

#include "Backends/Portal/PortalAnswers.h"
#include "Fuzz/FuzzInput.h"
#include "Support/Errors.h"
#include "Support/Owned.h"

namespace {

using namespace glimto;

using Bus = Owned<sd_bus, sd_bus_close_unref>;
using Message = Owned<sd_bus_message, sd_bus_message_unref>;

// One that nobody answers on; messages belong to one.
sd_bus* quietBus()
{
    static const Bus bus = [] {
        std::array<int, 2> ends = {};
        sd_bus* made = nullptr;
        require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) == 0);
        require(
            sd_bus_new(&made) >= 0 && sd_bus_set_fd(made, ends[0], ends[0]) >= 0 && sd_bus_start(made) >= 0);
        return Bus(made);
    }();
    return bus.get();
}

constexpr std::array keys = {"session_handle", "restore_token", "streams", "position", "size", "source_type",
    "version", "AvailableSourceTypes", "AvailableCursorModes", "unknown"};
constexpr int deepest = 6;

class Answer {
public:
    explicit Answer(std::span<const std::uint8_t> data)
        : data_(data)
    {
        sd_bus_message* message = nullptr;
        require(sd_bus_message_new_signal(quietBus(), &message, "/", "a.b", "C") >= 0);
        message_.reset(message);
    }

    // `beginning` is the type before the dictionary, 0 for none.
    sd_bus_message* built(char beginning)
    {
        if (beginning == 'u')
            add("u", word());
        else if (beginning == 's')
            add("s", text(8).c_str());
        addDictionary(0);
        require(sd_bus_message_seal(message_.get(), 1, 0) >= 0);
        require(sd_bus_message_rewind(message_.get(), true) >= 0);
        return message_.get();
    }

private:
    std::uint8_t byte()
    {
        if (data_.empty())
            return 0;
        const std::uint8_t value = data_.front();
        data_ = data_.subspan(1);
        return value;
    }

    std::uint32_t word()
    {
        std::uint32_t value = 0;
        for (int index = 0; index < 4; ++index)
            value = value << 8U | byte();
        return value;
    }

    // The bus lets no zero bytes through, and no bytes that are not UTF-8.
    std::string text(std::size_t longest)
    {
        const std::size_t length = std::min<std::size_t>({longest, byte(), data_.size()});
        std::string value(data_.begin(), data_.begin() + static_cast<std::ptrdiff_t>(length));
        data_ = data_.subspan(length);
        std::ranges::transform(value, value.begin(),
            [](char letter) { return static_cast<char>((letter & 0x7f) ? letter & 0x7f : 'x'); });
        return value;
    }

    template <typename... Values> void add(const char* types, Values... values)
    {
        require(sd_bus_message_append(message_.get(), types, values...) >= 0);
    }

    void open(char type, const char* contents)
    {
        require(sd_bus_message_open_container(message_.get(), type, contents) >= 0);
    }

    void close() { require(sd_bus_message_close_container(message_.get()) >= 0); }

    void addDictionary(int depth)
    {
        open('a', "{sv}");
        for (int left = byte() % 8; left > 0; --left) {
            open('e', "sv");
            const std::uint8_t choice = byte();
            add("s", choice < 200 ? keys[choice % keys.size()] : text(16).c_str());
            addValue(depth);
            close();
        }
        close();
    }

    void addValue(int depth)
    {
        switch (byte() % 10) {
        case 0:
            return add("v", "u", word());
        case 1:
            return add("v", "s", text(255).c_str());
        case 2:
            return addPath();
        case 3: {
            const std::uint32_t first = word();
            return add("v", "(ii)", static_cast<int>(first), static_cast<int>(word()));
        }
        case 4:
            return addStreams(depth);
        case 5:
            return add("v", "b", byte() % 2);
        case 6:
            return add("v", "as", 2, "one", text(8).c_str());
        case 7:
            return add("v", "s", std::string(std::size_t{32} * byte(), 'x').c_str());
        case 8:
            return add("v", "x", std::int64_t{word()});
        default:
            return add("v", "v", "u", word());
        }
    }

    void addPath()
    {
        std::string path = "/" + text(32);
        if (!sd_bus_object_path_is_valid(path.c_str()))
            path = "/a/b";
        add("v", "o", path.c_str());
    }

    void addStreams(int depth)
    {
        if (depth >= deepest)
            return add("v", "u", 0U);
        open('v', "a(ua{sv})");
        open('a', "(ua{sv})");
        for (int left = byte() % 100; left > 0; --left) {
            open('r', "ua{sv}");
            add("u", word());
            addDictionary(depth + 1);
            close();
        }
        close();
        close();
    }

    std::span<const std::uint8_t> data_;
    Message message_;
};

void requireSense(const PortalResponse& response)
{
    constexpr double farthest = 1e6;
    require(response.restoreToken.size() <= 4096 && response.streams.size() <= 64);
    require(
        response.sessionHandle.empty() || sd_bus_object_path_is_valid(response.sessionHandle.c_str()) > 0);
    for (const PortalStream& stream : response.streams) {
        require(!stream.size || (stream.size->x >= 1 && stream.size->y >= 1 && stream.size->x <= farthest));
        require(!stream.position || (stream.position->x >= -farthest && stream.position->y <= farthest));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size == 0)
        return 0;
    Answer answer({bytes + 1, size - 1});
    const bool isWellTyped = bytes[0] % 4 < 2;
    bool isRead = true;
    try {
        if (bytes[0] % 2 == 0)
            requireSense(portalResponse(answer.built(isWellTyped ? 'u' : 's')));
        else
            portalAbilities(answer.built(isWellTyped ? '\0' : 'u'));
    } catch (const PlatformError&) {
        isRead = false;
    }
    require(isRead == isWellTyped);
    return 0;
}
