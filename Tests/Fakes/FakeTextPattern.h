#pragma once

#include <memory>
#include <regex>
#include <string>
#include <string_view>

#include "Platform/TextPattern.h"
#include "Support/Errors.h"

namespace glimto {

// Patterns of the C++ library, which reads the simple ones as everybody does. "endless" compiles and is
// given up when it is searched for.
class FakeTextPatternCompiler final : public TextPatternCompiler {
public:
    std::unique_ptr<TextPattern> compile(const std::string& pattern) override
    {
        ++compiled;
        try {
            return std::make_unique<Pattern>(pattern);
        } catch (const std::regex_error&) {
            throw PlatformError("ICU", 66304, "The pattern is no regular expression.");
        }
    }

    int compiled = 0;

private:
    class Pattern final : public TextPattern {
    public:
        explicit Pattern(const std::string& pattern)
            : expression_(pattern)
            , isEndless_(pattern == "endless")
        {
        }
        bool isFoundIn(std::string_view text) const override
        {
            if (isEndless_)
                throw PlatformError("ICU", 66322, "The search was given up.");
            return std::regex_search(std::string(text), expression_);
        }

    private:
        std::regex expression_;
        bool isEndless_;
    };
};

} // namespace glimto
