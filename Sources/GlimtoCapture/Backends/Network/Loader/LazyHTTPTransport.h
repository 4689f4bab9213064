#pragma once

#include <memory>

#include "Platform/HTTPTransport.h"
#include "Support/LoadableModule.h"

namespace glimto {

// HTTP by the module of the network libraries, which it opens on first use. When that is impossible, every
// request ends with the reason at once, on the thread that starts it.
class LazyHTTPTransport final : public HTTPTransport {
public:
    // `module` outlives the transport.
    explicit LazyHTTPTransport(LoadableModule& module);

    std::unique_ptr<HTTPTransfer> start(const HTTPRequest& request, Completion completion) override;

private:
    LoadableModule& module_;
};

} // namespace glimto
