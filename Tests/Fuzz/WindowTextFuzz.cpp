// Any bytes as a window's title, in each of the encodings that windows use: the text is valid and not much
// longer.

#include "Backends/X11/Windows/X11Text.h"
#include "FuzzInput.h"
#include "Support/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace glimto;
    const auto title = fuzzText(bytes, size);
    for (const auto& text : {utf8FromLatin1(title), utf8FromUTF8String(title, TextEnd::whole),
             utf8FromUTF8String(title, TextEnd::cut), utf8FromCompoundText(title)}) {
        require(validUTF8(text) == text);
        require(text.find('\0') == std::string::npos);
        require(text.size() <= 4 * size);
    }
    return 0;
}
