#pragma once

#include <cstring>
#include <typeinfo>

#include "Support/InterfaceVersion.h"
#include "Support/ProcessWide.h"

namespace glimto {

// What a module shows of itself: its one symbol is a function of this name that returns the table.
inline constexpr const char* moduleEntryName = "glimtoCaptureModule";

struct ModuleTable {
    // Of the headers that program and module share; they fit only when it is the same.
    const char* interfaceVersion = nullptr;

    void (*share)(ProcessWide& programs) = nullptr;

    // The module's one object that implements the interface of that name (as typeid tells it); null when it
    // has none. It lives as long as the process. `dependency` is what its constructor asks for.
    void* (*find)(const char* interfaceName, void* dependency) = nullptr;
};

using ModuleEntry = const ModuleTable*();

// One line of a module's table: `Implementation` is what it has for `Interface`. Made when it is first asked
// for, with a Dependency& unless that is void.
template <typename Interface, typename Implementation, typename Dependency = void> struct Provided {
    static void* find(const char* interfaceName, [[maybe_unused]] void* dependency)
    {
        if (std::strcmp(interfaceName, typeid(Interface).name()) != 0)
            return nullptr;
        if constexpr (std::is_void_v<Dependency>) {
            static Implementation only;
            return static_cast<Interface*>(&only);
        } else {
            static Implementation only(*static_cast<Dependency*>(dependency));
            return static_cast<Interface*>(&only);
        }
    }
};

template <typename... Services> const ModuleTable* moduleTable()
{
    static constexpr ModuleTable table = {.interfaceVersion = interfaceVersion,
        .share = &shareProcessWide,
        .find = [](const char* interfaceName, void* dependency) {
            void* found = nullptr;
            (void)((found = Services::find(interfaceName, dependency)) || ...);
            return found;
        }};
    return &table;
}

} // namespace glimto
