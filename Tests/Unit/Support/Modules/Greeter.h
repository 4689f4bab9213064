#pragma once

#include <string>

#include "Support/ProcessWide.h"

namespace glimto {

// What the modules of these tests implement.
class Greeter {
public:
    virtual ~Greeter() = default;
    virtual std::string greeting() = 0;
    virtual ProcessWide* processWideOfTheModule() = 0;
};

// What nobody implements.
class Stranger { };

} // namespace glimto
