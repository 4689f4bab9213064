// A server's pattern, on the first line, on the text behind it: it is refused, or an answer comes within
// bounds.

#include <algorithm>

#include "Backends/Network/ICUTextPattern.h"
#include "FuzzInput.h"
#include "Support/Errors.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace glimto;
    const auto input = fuzzText(bytes, size);
    const auto end = std::min(input.find('\n'), input.size());
    ICUTextPatternCompiler compiler;
    try {
        const auto pattern = compiler.compile(std::string(input.substr(0, end)));
        const auto text = input.substr(std::min(end + 1, input.size()));
        require(pattern->isFoundIn(text) == pattern->isFoundIn(text));
    } catch (const PlatformError& error) {
        require(error.domain() == "ICU");
    }
    return 0;
}
