#pragma once

#include <memory>

#include "Platform/HTTPTransport.h"
#include "Support/NamedThread.h"

namespace glimto {

// HTTP with libcurl: all requests on one thread, HTTP/2 where a TLS server has it, proxies and
// certificates as the system has them. Redirects are followed here rather than by the library, so that
// nothing secret goes to another origin.
class CurlHTTPTransport final : public HTTPTransport {
public:
    CurlHTTPTransport();

    // Ends what is on its way with an error.
    ~CurlHTTPTransport() override;
    CurlHTTPTransport(const CurlHTTPTransport&) = delete;
    CurlHTTPTransport& operator=(const CurlHTTPTransport&) = delete;

    std::unique_ptr<HTTPTransfer> start(HTTPRequest request, Completion completion) override;

private:
    class Core;

    std::shared_ptr<Core> core_; // shared with the transfers, which may outlive the transport
    std::unique_ptr<NamedThread> thread_; // uses the core
};

} // namespace glimto
