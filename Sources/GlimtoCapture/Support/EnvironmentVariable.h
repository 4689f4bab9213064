#pragma once

#include <cstdlib>
#include <string>

namespace glimto {

// A variable of this process's environment; empty when it is not set.
inline std::string environmentVariable(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

} // namespace glimto
