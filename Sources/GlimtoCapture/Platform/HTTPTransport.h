#pragma once

#include <chrono>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "Support/RegularFile.h"

namespace glimto {

using HTTPHeaders = std::vector<std::pair<std::string, std::string>>;

// Shared by who makes a request and the transport.
using HTTPBodyFile = std::shared_ptr<const RegularFile>;

struct HTTPRequest {
    std::string method; // "GET", "POST", "PUT"
    std::string url; // http or https; may hold secrets: not for messages
    HTTPHeaders headers; // only these and what HTTP itself needs
    // Sent only to the origin (scheme, host and port) of `url`, also when a redirect leads elsewhere.
    HTTPHeaders originHeaders;
    // None, bytes in memory, or a file that is read while it is sent, as long as it was when it was opened.
    std::variant<std::monostate, std::string, HTTPBodyFile> body;
    std::chrono::seconds timeout{60}; // without any progress
    std::chrono::seconds deadline{120}; // for all of it, redirects included
    std::size_t mostResponseBytes = 8 << 20; // a longer body is an error
};

struct HTTPResponse {
    int status = 0;
    std::string body;
};

// One request on its way.
class HTTPTransfer {
public:
    virtual ~HTTPTransfer() = default; // cancels

    // Ends the transfer soon; its completion is called with an error unless it is on its way. Any thread.
    virtual void cancel() = 0;
};

// HTTP (RFC 9110) with connections kept for later requests. Safe to use from any thread.
class HTTPTransport {
public:
    // Exactly one of both is set. The error is a PlatformError whose text names no query string and no
    // header.
    using Completion = std::function<void(HTTPResponse response, std::exception_ptr error)>;

    virtual ~HTTPTransport() = default;

    // Begins the request; `completion` is called once, on a thread of the transport, and must not block.
    // Any number may be on their way at once. Does not throw.
    virtual std::unique_ptr<HTTPTransfer> start(HTTPRequest request, Completion completion) = 0;
};

} // namespace glimto
