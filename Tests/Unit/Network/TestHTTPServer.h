#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Support/FileDescriptor.h"

namespace glimto {

// A server on a free port of this machine that reads one request after the other from each connection and
// answers with what a function makes of it, byte for byte.
class TestHTTPServer {
public:
    struct Request {
        std::string head; // the request line and the headers
        std::string body;
    };
    // An answer; an empty one closes the connection.
    using Answer = std::function<std::string(const Request& request)>;

    explicit TestHTTPServer(Answer answer)
        : answer_(std::move(answer))
        , listener_(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(listener_.get(), reinterpret_cast<sockaddr*>(&address), length);
        ::listen(listener_.get(), 64);
        ::getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
        acceptor_ = std::thread([this] { acceptAll(); });
    }
    ~TestHTTPServer()
    {
        ::shutdown(listener_.get(), SHUT_RDWR);
        acceptor_.join();
        {
            const std::lock_guard lock(mutex_);
            for (const int connection : connections_)
                ::shutdown(connection, SHUT_RDWR);
        }
        for (auto& thread : threads_)
            thread.join();
    }

    std::string url(const std::string& path) const
    {
        return "http://127.0.0.1:" + std::to_string(port_) + path;
    }
    int port() const { return port_; }
    int connectionCount() const { return connectionCount_; }

    std::vector<Request> requests() const
    {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

    static std::string ok(const std::string& body, const std::string& status = "200 OK")
    {
        return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n"
            + body;
    }
    static std::string redirect(const std::string& status, const std::string& place)
    {
        return "HTTP/1.1 " + status + " x\r\nLocation: " + place + "\r\nContent-Length: 0\r\n\r\n";
    }

private:
    void acceptAll()
    {
        while (true) {
            const int connection = ::accept(listener_.get(), nullptr, nullptr);
            if (connection < 0)
                return;
            ++connectionCount_;
            const std::lock_guard lock(mutex_);
            connections_.push_back(connection);
            threads_.emplace_back([this, connection] { serve(FileDescriptor(connection)); });
        }
    }

    void serve(const FileDescriptor& connection)
    {
        std::string data;
        Request request;
        while (readRequest(connection.get(), data, request)) {
            {
                const std::lock_guard lock(mutex_);
                requests_.push_back(request);
            }
            const std::string answer = answer_(request);
            for (std::size_t sent = 0; sent < answer.size();) {
                const ssize_t count
                    = ::send(connection.get(), answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
                if (count <= 0)
                    return forget(connection.get());
                sent += static_cast<std::size_t>(count);
            }
            if (answer.empty())
                break;
        }
        forget(connection.get());
    }

    void forget(int connection)
    {
        const std::lock_guard lock(mutex_);
        std::erase(connections_, connection);
    }

    static bool readRequest(int connection, std::string& data, Request& request)
    {
        std::size_t headEnd = 0;
        while ((headEnd = data.find("\r\n\r\n")) == std::string::npos) {
            if (!readMore(connection, data))
                return false;
        }
        request.head = data.substr(0, headEnd + 2);
        data.erase(0, headEnd + 4);
        const std::size_t at = request.head.find("Content-Length: ");
        const std::size_t length = at == std::string::npos ? 0 : std::stoul(request.head.substr(at + 16));
        while (data.size() < length) {
            if (!readMore(connection, data))
                return false;
        }
        request.body = data.substr(0, length);
        data.erase(0, length);
        return true;
    }

    static bool readMore(int connection, std::string& data)
    {
        std::string buffer(65536, '\0');
        const ssize_t count = ::recv(connection, buffer.data(), buffer.size(), 0);
        if (count <= 0)
            return false;
        data.append(buffer, 0, static_cast<std::size_t>(count));
        return true;
    }

    Answer answer_;
    FileDescriptor listener_;
    int port_ = 0;
    std::atomic<int> connectionCount_ = 0;
    mutable std::mutex mutex_;
    std::vector<int> connections_;
    std::vector<Request> requests_;
    std::vector<std::thread> threads_;
    std::thread acceptor_;
};

} // namespace glimto
