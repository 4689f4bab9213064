#pragma once

#include <functional>
#include <memory>
#include <string>

#include "DevServerOptions.h"

namespace glimto {

// The HTTP server: the API, the objects, and the pages. For development and tests: everyone who reaches
// the address may look at all recordings.
class DevServer {
public:
    using LogLine = std::function<void(const std::string& line)>;

    // Makes the directories. `log` is called on the server's threads, one line a request.
    DevServer(const DevServerOptions& options, LogLine log);
    ~DevServer();

    // Begins to listen; connections wait until run(). Returns the port. Throws CLIError when the address
    // cannot be had.
    int listen();

    // Serves until stop() is called.
    void run();

    // Ends run() soon. Any thread.
    void stop();

private:
    struct Rooms;
    std::unique_ptr<Rooms> rooms_;
};

} // namespace glimto
