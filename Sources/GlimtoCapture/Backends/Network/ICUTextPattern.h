#pragma once

#include <memory>
#include <string>

#include "Platform/TextPattern.h"

namespace glimto {

// Compiles patterns with ICU. A pattern may come from anybody: its length is bounded, and so are the
// steps and the memory that a search may take.
class ICUTextPatternCompiler final : public TextPatternCompiler {
public:
    std::unique_ptr<TextPattern> compile(const std::string& pattern) override;
};

} // namespace glimto
