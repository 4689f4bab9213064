#include "Backends/Network/Loader/LazyHTTPTransport.h"

#include <exception>
#include <utility>

#include "Backends/Network/Loader/NetworkModuleEntry.h"

namespace glimto {

namespace {

// A request that never was on its way.
class NoTransfer final : public HTTPTransfer {
public:
    void cancel() override { }
};

} // namespace

LazyHTTPTransport::LazyHTTPTransport(LoadableModule& module)
    : module_(module)
{
}

std::unique_ptr<HTTPTransfer> LazyHTTPTransport::start(const HTTPRequest& request, Completion completion)
{
    HTTPTransport* transport = nullptr;
    try {
        transport = module_.entry<decltype(glimtoCaptureHTTPTransport)>(httpTransportEntryName)();
    } catch (...) {
        completion({}, std::current_exception());
        return std::make_unique<NoTransfer>();
    }
    return transport->start(request, std::move(completion));
}

} // namespace glimto
