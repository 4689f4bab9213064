#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace glimto {

// A compiled regular expression in ICU's syntax.
class TextPattern {
public:
    virtual ~TextPattern() = default;

    // Whether it matches somewhere in `text` (UTF-8). Throws PlatformError when that takes longer than
    // a bounded effort allows.
    virtual bool isFoundIn(std::string_view text) const = 0;
};

class TextPatternCompiler {
public:
    virtual ~TextPatternCompiler() = default;

    // Throws PlatformError with the engine's error when the pattern does not compile.
    virtual std::unique_ptr<TextPattern> compile(const std::string& pattern) = 0;
};

} // namespace glimto
