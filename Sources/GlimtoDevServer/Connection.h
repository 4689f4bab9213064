#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>

#include <httplib.h>

namespace glimto {

// How many clients the server has, against the threads that serve them. Any thread.
class ConnectionLoad {
public:
    explicit ConnectionLoad(int threads)
        : threads_(threads)
    {
    }

    // A client came, and one that is served left.
    void add() { ++clients_; }
    void remove() { --clients_; }

    // Whether some client waits because others hold all threads.
    bool isCrowded() const { return clients_ > threads_; }

    // Every connection ends soon.
    void stop() { isStopping_ = true; }
    bool isStopping() const { return isStopping_; }

private:
    const int threads_;
    std::atomic<int> clients_ = 0;
    std::atomic<bool> isStopping_ = false;
};

// A connection as cpp-httplib reads and writes it, with bounds on what a client may cost: the bytes that a
// request's head and a line may have, and the time that a client may hold a thread without getting on. When
// others wait for a thread, that time is short. Used by one thread.
class Connection final : public httplib::Stream {
public:
    static constexpr std::size_t mostHeadBytes = 128 * 1024;
    static constexpr std::size_t mostLineBytes = 16 * 1024; // within a body, of its chunks

    // Owns the socket. `load` outlives the connection.
    Connection(int socket, const ConnectionLoad& load);

    // Ends the connection so that the client gets what was written last.
    ~Connection() override;

    // Waits until the client begins a request. False when it does not.
    bool waitForRequest();

    // The request's head was read; its body and the answer follow.
    void beginBody();

    // Whether a next request may follow. No once a head was not read to its end, or a bound was reached.
    bool isInStep() const { return !isBroken_ && phase_ == Phase::exchange; }

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* to, std::size_t size) override;
    ssize_t write(const char* from, std::size_t size) override;
    void get_remote_ip_and_port(std::string&, int&) const override { } // nobody asks who the client is
    void get_local_ip_and_port(std::string&, int&) const override { }
    socket_t socket() const override { return socket_; }

private:
    using Clock = std::chrono::steady_clock;
    enum class Phase { opened, idle, head, exchange };

    void enter(Phase phase);
    void countRead(std::size_t size);
    void countProgress(std::size_t bytes);
    Clock::duration patience() const;
    bool wait(short events) const;
    ssize_t fill();

    const int socket_;
    const ConnectionLoad& load_;
    Phase phase_ = Phase::opened;
    Clock::time_point since_ = Clock::now(); // the phase's beginning, or the last progress of an exchange
    std::size_t progressBytes_ = 0;
    std::size_t headBytes_ = 0;
    std::size_t singleBytes_ = 0; // lines are read byte by byte
    bool isBroken_ = false;
    std::array<char, 16 * 1024> buffer_;
    std::size_t begin_ = 0; // of what is in the buffer
    std::size_t end_ = 0;
};

} // namespace glimto
