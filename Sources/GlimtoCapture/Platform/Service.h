#pragma once

#include "Support/LoadableModule.h"

namespace glimto {

// One of the services that the program asks of the system. It may stand in a module, which is opened when the
// service is first used; until then a Service costs nothing. Any thread.
template <typename Interface> class Service {
public:
    // One that is there; it outlives every use. Implicit, as for a reference.
    Service(Interface& ready)
        : ready_(&ready)
    {
    }

    // One of a module, which outlives every use, and so does `dependency`, which its constructor may ask for.
    explicit Service(LoadableModule& module, void* dependency = nullptr)
        : module_(&module)
        , dependency_(dependency)
    {
    }

    // Opens the module on another thread, so that it is there when it is needed.
    void beginLoading() const
    {
        if (module_)
            module_->beginLoading();
    }

    // Both throw PlatformError when the module cannot be opened.
    Interface& get() const { return ready_ ? *ready_ : module_->service<Interface>(dependency_); }
    operator Interface&() const { return get(); }

private:
    Interface* ready_ = nullptr;
    LoadableModule* module_ = nullptr;
    void* dependency_ = nullptr;
};

} // namespace glimto
