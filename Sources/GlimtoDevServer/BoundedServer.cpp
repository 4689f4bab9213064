#include "BoundedServer.h"

#include <chrono>
#include <cstdint>
#include <thread>
#include <utility>

#include <sys/socket.h>

#include "Support/DecimalText.h"
#include "Support/Text.h"

namespace glimto {

namespace {

using namespace std::chrono_literals;

constexpr int connectionThreads = 64; // each client that is served holds one
constexpr auto endInterval = 10ms;

// Tells the load who comes and goes.
class CountingThreads final : public httplib::TaskQueue {
public:
    explicit CountingThreads(ConnectionLoad& load)
        : load_(load)
        , threads_(connectionThreads)
    {
    }

    void enqueue(std::function<void()> serve) override
    {
        load_.add();
        threads_.enqueue([this, serve = std::move(serve)] {
            serve();
            load_.remove();
        });
    }

    void shutdown() override { threads_.shutdown(); }

private:
    ConnectionLoad& load_;
    httplib::ThreadPool threads_;
};

// Bodies are read with these methods only.
bool readsBody(const httplib::Request& request)
{
    return request.method == "POST" || request.method == "PUT";
}

// What is left on the connection is where the next request would begin.
bool leavesBodyUnread(const httplib::Request& request)
{
    return hasUncertainBody(request)
        || (!readsBody(request)
            && (request.has_header("Content-Length") || request.has_header("Transfer-Encoding")));
}

} // namespace

bool hasUncertainBody(const httplib::Request& request)
{
    const auto lengths = request.get_header_value_count("Content-Length");
    const auto codings = request.get_header_value_count("Transfer-Encoding");
    if (codings > 0)
        return codings > 1 || lengths > 0
            || lowercased(request.get_header_value("Transfer-Encoding")) != "chunked";
    if (lengths == 0)
        return readsBody(request);
    return lengths > 1 || !wholeNumber<std::uint64_t>(request.get_header_value("Content-Length"));
}

BoundedServer::BoundedServer()
    : load_(connectionThreads)
{
    new_task_queue = [this] { return new CountingThreads(load_); };
    set_tcp_nodelay(true);
    // Not SO_REUSEPORT, with which two servers would share a port and its requests.
    set_socket_options([](auto socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    });
}

int BoundedServer::bind(const std::string& address, int port)
{
    const int bound = port == 0 ? bind_to_any_port(address) : bind_to_port(address, port) ? port : -1;
    // The library's own queue takes five clients; more at once would be turned away.
    if (bound > 0)
        ::listen(svr_sock_, SOMAXCONN);
    return bound;
}

bool BoundedServer::serve()
{
    hasBegun_ = true;
    const bool endedWell = load_.isStopping() || listen_after_bind();
    hasEnded_ = true;
    return endedWell || load_.isStopping();
}

void BoundedServer::end()
{
    load_.stop();
    // The library forgets a stop that comes before it listens.
    do {
        stop();
        std::this_thread::sleep_for(endInterval);
    } while (hasBegun_ && !hasEnded_);
}

bool BoundedServer::answerNext(Connection& connection)
{
    bool isLast = false;
    bool leavesBody = false;
    const bool isAnswered = process_request(connection, false, isLast, [&](const httplib::Request& request) {
        leavesBody = leavesBodyUnread(request);
        connection.beginBody();
    });
    return isAnswered && !isLast && !leavesBody && connection.isInStep();
}

bool BoundedServer::process_and_close_socket(socket_t socket)
{
    Connection connection(socket, load_);
    try {
        while (connection.waitForRequest() && answerNext(connection)) { }
        return true;
    } catch (const std::exception&) {
        return false; // memory, say: this client is let go of, the others stay
    }
}

} // namespace glimto
