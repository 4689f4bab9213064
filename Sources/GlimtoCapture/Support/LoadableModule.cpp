#include "Support/LoadableModule.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>

#include "Support/Errors.h"
#include "Support/FileDescriptor.h"
#include "Support/ModuleTable.h"
#include "Support/OthersAccess.h"

namespace glimto {

namespace {

[[noreturn]] void throwUnavailable(const std::string& purpose, const std::string& reason)
{
    throw PlatformError("module", 0, purpose + " is not available: " + reason);
}

std::string lastLoaderError()
{
    const char* text = ::dlerror();
    return text ? text : "unknown error";
}

// Libraries that a module brings end the process when they find no descriptor for a file of theirs as they
// are loaded, while the rest of the program opens its own.
void requireSpareDescriptors(const std::string& purpose)
{
    std::array<FileDescriptor, 8> spare;
    for (FileDescriptor& descriptor : spare) {
        descriptor = FileDescriptor(::open("/", O_PATH | O_CLOEXEC));
        if (!descriptor)
            throwUnavailable(purpose, std::string(std::strerror(errno)) + ".");
    }
}

void* openModule(const std::string& fileName, const std::vector<std::filesystem::path>& directories,
    const std::string& purpose)
{
    for (const auto& directory : directories) {
        std::error_code ignored;
        const auto path = directory / fileName;
        if (!std::filesystem::exists(path, ignored))
            continue;
        for (const auto& place : {directory, path}) {
            // Who owns the program's own directory could have replaced the program.
            if (mayBeOthers(place, directories.front()))
                throwUnavailable(purpose, "other users may write to " + place.string() + ".");
        }
        requireSpareDescriptors(purpose);
        // Our modules are linked to be bound at once; a hundred libraries of others need not be.
        if (void* module = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL))
            return module;
        throwUnavailable(purpose, lastLoaderError());
    }
    throwUnavailable(purpose, fileName + " is missing beside the program.");
}

} // namespace

LoadableModule::LoadableModule(
    std::string fileName, std::vector<std::filesystem::path> directories, std::string purpose)
    : fileName_(std::move(fileName))
    , directories_(std::move(directories))
    , purpose_(std::move(purpose))
{
}

void LoadableModule::beginLoading()
{
    try {
        ahead_ = std::make_unique<NamedThread>("glimto.capture.loading", [this] {
            try {
                table();
            } catch (...) {
                return; // told to whoever needs the module
            }
        });
    } catch (const PlatformError&) {
        return;
    }
}

const ModuleTable& LoadableModule::table()
{
    return opening_.sync([this]() -> const ModuleTable& {
        if (failure_)
            std::rethrow_exception(failure_);
        if (table_)
            return *table_;
        try {
            void* module = openModule(fileName_, directories_, purpose_);
            auto* entry = reinterpret_cast<ModuleEntry*>(::dlsym(module, moduleEntryName));
            if (!entry)
                throwUnavailable(purpose_, fileName_ + " is no module of this program.");
            const ModuleTable* table = entry();
            if (std::strcmp(table->interfaceVersion, interfaceVersion) != 0)
                throwUnavailable(purpose_, fileName_ + " belongs to another version of this program.");
            table->share(processWide());
            table_ = table;
        } catch (...) {
            failure_ = std::current_exception();
            throw;
        }
        return *table_;
    });
}

void* LoadableModule::find(const char* interfaceName, void* dependency)
{
    if (void* found = table().find(interfaceName, dependency))
        return found;
    throwUnavailable(purpose_, fileName_ + " has no " + interfaceName + ".");
}

} // namespace glimto
