#include "Backends/Wayland/CompositorSocket.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>
#include <string_view>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Backends/Wayland/LocalSocket.h"
#include "Support/FileDescriptor.h"

namespace glimto {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds answerTimeout{2};
constexpr std::size_t longestAnswer = std::size_t{16} << 20U;
constexpr std::string_view magic = "i3-ipc";
constexpr std::size_t headerSize = 14;

class Conversation {
public:
    explicit Conversation(const std::string& path)
        : socket_(connectedLocalSocket(path))
    {
    }

    bool isOpen() const { return static_cast<bool>(socket_); }

    // A question is shorter than what a socket takes in one piece.
    bool say(std::string_view question)
    {
        return ::send(socket_.get(), question.data(), question.size(), MSG_NOSIGNAL)
            == static_cast<ssize_t>(question.size());
    }

    // More of the answer at the end of `text`. False at its end and when the time is over.
    bool hearMore(std::string& text)
    {
        std::array<char, 65536> piece;
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now()).count();
            pollfd entry = {.fd = socket_.get(), .events = POLLIN, .revents = 0};
            if (left <= 0 || ::poll(&entry, 1, static_cast<int>(left)) == 0)
                return false;
            const ssize_t count = ::recv(socket_.get(), piece.data(), piece.size(), MSG_DONTWAIT);
            if (count < 0 && (errno == EINTR || errno == EAGAIN))
                continue;
            if (count <= 0)
                return isOver_ = count == 0, false;
            text.append(piece.data(), static_cast<std::size_t>(count));
            return true;
        }
    }

    // Whether the other side said that it is done.
    bool isOver() const { return isOver_; }

private:
    FileDescriptor socket_;
    Clock::time_point deadline_ = Clock::now() + answerTimeout;
    bool isOver_ = false;
};

std::uint32_t wordAt(const std::string& text, std::size_t at)
{
    std::uint32_t word = 0;
    std::memcpy(&word, text.data() + at, sizeof(word));
    return word;
}

} // namespace

std::optional<std::string> askSway(const std::string& path, SwayQuestion question)
{
    Conversation conversation(path);
    const std::array<std::uint32_t, 2> words = {0, static_cast<std::uint32_t>(question)};
    std::string message(magic);
    message.append(reinterpret_cast<const char*>(words.data()), sizeof(words));
    if (!conversation.isOpen() || !conversation.say(message))
        return std::nullopt;
    std::string answer;
    while (answer.size() < headerSize) {
        if (!conversation.hearMore(answer))
            return std::nullopt;
    }
    const std::size_t length = wordAt(answer, magic.size());
    if (!answer.starts_with(magic) || length > longestAnswer)
        return std::nullopt;
    while (answer.size() < headerSize + length) {
        if (!conversation.hearMore(answer))
            return std::nullopt;
    }
    return answer.substr(headerSize, length);
}

std::optional<std::string> askHyprland(const std::string& path, const std::string& question)
{
    Conversation conversation(path);
    if (!conversation.isOpen() || !conversation.say(question))
        return std::nullopt;
    std::string answer;
    while (conversation.hearMore(answer)) {
        if (answer.size() > longestAnswer)
            return std::nullopt;
    }
    return conversation.isOver() ? std::optional(answer) : std::nullopt;
}

} // namespace glimto
