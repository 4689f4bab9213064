#include "Connection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace glimto {

namespace {

using namespace std::chrono_literals;

constexpr int sliceMilliseconds = 200; // how soon a wait notices that others wait, or that the server ends
constexpr std::size_t progressUnit = 16 * 1024;

// What a client may take when it keeps nobody waiting, and when it does.
constexpr auto idlePatience = 60s;
constexpr auto headPatience = 15s;
constexpr auto exchangePatience = 60s; // for each progressUnit
constexpr auto openedPatienceInCrowd = 1s;
constexpr auto headPatienceInCrowd = 2s;
constexpr auto exchangePatienceInCrowd = 5s;

constexpr auto lingering = 1s;
constexpr std::size_t mostLingeringBytes = 1 << 20;

int waitOnce(int socket, short events)
{
    pollfd entry = {socket, events, 0};
    return ::poll(&entry, 1, sliceMilliseconds);
}

} // namespace

Connection::Connection(int socket, const ConnectionLoad& load)
    : socket_(socket)
    , load_(load)
{
}

Connection::~Connection()
{
    // Closed with bytes unread, a connection is reset, and the client may never see the answer.
    ::shutdown(socket_, SHUT_WR);
    const auto deadline = Clock::now() + lingering;
    std::size_t bytes = 0;
    while (
        !load_.isStopping() && !load_.isCrowded() && Clock::now() < deadline && bytes < mostLingeringBytes) {
        if (waitOnce(socket_, POLLIN) <= 0)
            continue;
        const auto got = ::recv(socket_, buffer_.data(), buffer_.size(), MSG_DONTWAIT);
        if (got <= 0)
            break;
        bytes += static_cast<std::size_t>(got);
    }
    ::close(socket_);
}

void Connection::enter(Phase phase)
{
    phase_ = phase;
    since_ = Clock::now();
    progressBytes_ = headBytes_ = singleBytes_ = 0;
}

bool Connection::waitForRequest()
{
    if (phase_ != Phase::opened)
        enter(Phase::idle);
    if (begin_ == end_ && fill() <= 0)
        return false;
    enter(Phase::head);
    return true;
}

void Connection::beginBody()
{
    enter(Phase::exchange);
}

Connection::Clock::duration Connection::patience() const
{
    const bool isCrowded = load_.isCrowded();
    switch (phase_) {
    case Phase::opened:
        return isCrowded ? openedPatienceInCrowd : idlePatience;
    case Phase::idle:
        return isCrowded ? 0s : idlePatience;
    case Phase::head:
        return isCrowded ? headPatienceInCrowd : headPatience;
    case Phase::exchange:
        break;
    }
    return isCrowded ? exchangePatienceInCrowd : exchangePatience;
}

// Until the socket is ready, or fails. False when the client has no more time.
bool Connection::wait(short events) const
{
    while (!load_.isStopping()) {
        const int ready = waitOnce(socket_, events);
        // What comes begins a request, however late.
        const bool isBetweenRequests = phase_ == Phase::opened || phase_ == Phase::idle;
        if (ready > 0 && isBetweenRequests)
            return true;
        if (Clock::now() - since_ > patience() || (ready < 0 && errno != EINTR))
            return false;
        if (ready > 0)
            return true;
    }
    return false;
}

void Connection::countRead(std::size_t size)
{
    if (phase_ == Phase::head)
        isBroken_ = isBroken_ || ++headBytes_ > mostHeadBytes;
    else
        isBroken_ = isBroken_ || (singleBytes_ = size == 1 ? singleBytes_ + 1 : 0) > mostLineBytes;
}

void Connection::countProgress(std::size_t bytes)
{
    progressBytes_ += bytes;
    if (phase_ != Phase::exchange || progressBytes_ < progressUnit)
        return;
    progressBytes_ = 0;
    since_ = Clock::now();
}

ssize_t Connection::fill()
{
    for (;;) {
        if (!wait(POLLIN))
            return -1;
        const auto got = ::recv(socket_, buffer_.data(), buffer_.size(), MSG_DONTWAIT);
        if (got < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        begin_ = 0;
        end_ = got > 0 ? static_cast<std::size_t>(got) : 0;
        countProgress(end_);
        return got;
    }
}

bool Connection::is_readable() const
{
    return begin_ < end_ || wait(POLLIN);
}

bool Connection::is_writable() const
{
    return wait(POLLOUT);
}

ssize_t Connection::read(char* to, std::size_t size)
{
    countRead(size);
    if (isBroken_)
        return -1;
    if (begin_ == end_) {
        if (const auto got = fill(); got <= 0) {
            isBroken_ = true;
            return got;
        }
    }
    const auto count = std::min(size, end_ - begin_);
    std::memcpy(to, buffer_.data() + begin_, count);
    begin_ += count;
    return static_cast<ssize_t>(count);
}

ssize_t Connection::write(const char* from, std::size_t size)
{
    std::size_t written = 0;
    while (written < size) {
        if (!wait(POLLOUT))
            return -1;
        const auto count = ::send(socket_, from + written, size - written, MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        if (count < 0)
            return -1;
        written += static_cast<std::size_t>(count);
        countProgress(static_cast<std::size_t>(count));
    }
    return static_cast<ssize_t>(size);
}

} // namespace glimto
