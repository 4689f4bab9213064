#pragma once

#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "Support/NamedThread.h"
#include "Support/SerialQueue.h"

namespace glimto {

struct ModuleTable;

// A shared library of this program, opened when it is first needed. Any thread.
//
// What takes longer to load than most commands take to run stands in such a module. Once opened it stays
// open as long as the process lives.
class LoadableModule {
public:
    // `fileName` is looked for in `directories`, in order, the first of which is the program's own; what lies
    // where another user could have put it is refused. `purpose` begins the error when the module is needed
    // and cannot be had: "The media encoder".
    LoadableModule(std::string fileName, std::vector<std::filesystem::path> directories, std::string purpose);

    // Opens the module on another thread, so that it is there when it is needed. Where that thread cannot be
    // started the module is opened when it is needed.
    void beginLoading();

    // The module's one object with this interface, made with `dependency` if it asks for one. Opens the
    // module, or waits until it is open. Throws PlatformError "<purpose> is not available: ...".
    template <typename Interface> Interface& service(void* dependency = nullptr)
    {
        return *static_cast<Interface*>(find(typeid(Interface).name(), dependency));
    }

private:
    void* find(const char* interfaceName, void* dependency);
    const ModuleTable& table();

    std::string fileName_;
    std::vector<std::filesystem::path> directories_;
    std::string purpose_;
    const ModuleTable* table_ = nullptr; // once opened
    std::exception_ptr failure_; // once that was in vain
    SerialQueue opening_{"glimto.capture.modules", SerialQueue::Thread::none}; // one at a time
    std::unique_ptr<NamedThread> ahead_; // last: it uses the others
};

} // namespace glimto
