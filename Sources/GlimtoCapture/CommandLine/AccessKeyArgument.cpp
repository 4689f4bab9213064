#include "CommandLine/AccessKeyArgument.h"

#include <cstring>
#include <string_view>

namespace glimto {

void wipeAccessKeys(int argumentCount, char** argumentValues)
{
    for (int index = 1; index + 1 < argumentCount; ++index) {
        if (std::string_view(argumentValues[index]) == "--access-key")
            std::memset(argumentValues[index + 1], ' ', std::strlen(argumentValues[index + 1]));
    }
}

} // namespace glimto
