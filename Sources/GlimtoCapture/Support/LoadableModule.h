#pragma once

#include <filesystem>
#include <future>
#include <string>
#include <vector>

namespace glimto {

// A shared library of this program, opened when it is first needed.
//
// What takes longer to load than most commands take to run stands in such a module. Once opened it stays
// open as long as the process lives.
class LoadableModule {
public:
    // `fileName` is looked for in `directories`, in order, the first of which is the program's own; what lies
    // where another user could have put it is refused. `purpose` begins the error when the module is needed
    // and cannot be had: "The media encoder".
    LoadableModule(std::string fileName, std::vector<std::filesystem::path> directories, std::string purpose);

    // Opens the module on another thread, so that it is there when it is needed.
    void beginLoading();

    // The function of that name with C linkage. Opens the module, or waits until it is open. Throws
    // PlatformError "<purpose> is not available: ...".
    template <typename Function> Function* entry(const char* name)
    {
        return reinterpret_cast<Function*>(symbol(name));
    }

private:
    void* symbol(const char* name);

    std::string fileName_;
    std::vector<std::filesystem::path> directories_;
    std::string purpose_;
    std::shared_future<void*> handle_;
};

} // namespace glimto
