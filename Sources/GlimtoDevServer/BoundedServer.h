#pragma once

#include <string>

#include <httplib.h>

#include "Connection.h"

namespace glimto {

// cpp-httplib's server with bounds on what its clients may cost, see Connection, a queue of the system's
// length for those that have not been accepted, and an end that nobody can hold up.
class BoundedServer final : public httplib::Server {
public:
    BoundedServer();

    // Begins to listen. Returns the port, or -1. `port` 0 takes any free one.
    int bind(const std::string& address, int port);

    // Serves until stop() is called. False when connections cannot be accepted any more.
    bool serve();

    // Ends serve() soon, also when that has not begun yet. Any thread.
    void end();

private:
    bool process_and_close_socket(socket_t socket) override;
    bool answerNext(Connection& connection);

    ConnectionLoad load_;
    std::atomic<bool> hasBegun_ = false;
    std::atomic<bool> hasEnded_ = false;
};

// True for a body that another program may read to another end (RFC 9112, section 6.3): its length is told
// twice, in two ways, not in digits, or not at all where there has to be one. It is not read here, and the
// connection ends with the answer.
bool hasUncertainBody(const httplib::Request& request);

} // namespace glimto
