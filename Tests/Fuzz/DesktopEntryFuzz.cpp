// Any bytes as a desktop file: every text that comes out is valid.

#include "Backends/DesktopFiles/DesktopEntry.h"
#include "FuzzInput.h"
#include "Support/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace glimto;
    const auto entry = parseDesktopEntry(fuzzText(bytes, size));
    for (const auto& text : {entry.type, entry.name, entry.startupWMClass}) {
        require(validUTF8(text) == text);
        require(text.size() <= 3 * size);
    }
    return 0;
}
