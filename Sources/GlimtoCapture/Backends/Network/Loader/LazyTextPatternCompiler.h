#pragma once

#include <memory>
#include <string>

#include "Platform/TextPattern.h"
#include "Support/LoadableModule.h"

namespace glimto {

// Compiles patterns with the module of the network libraries, which it opens on first use.
class LazyTextPatternCompiler final : public TextPatternCompiler {
public:
    // `module` outlives the compiler.
    explicit LazyTextPatternCompiler(LoadableModule& module);

    // Throws PlatformError also when the module cannot be opened.
    std::unique_ptr<TextPattern> compile(const std::string& pattern) override;

private:
    LoadableModule& module_;
};

} // namespace glimto
