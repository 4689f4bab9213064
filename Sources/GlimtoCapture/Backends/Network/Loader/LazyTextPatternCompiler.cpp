#include "Backends/Network/Loader/LazyTextPatternCompiler.h"

#include "Backends/Network/Loader/NetworkModuleEntry.h"

namespace glimto {

LazyTextPatternCompiler::LazyTextPatternCompiler(LoadableModule& module)
    : module_(module)
{
}

std::unique_ptr<TextPattern> LazyTextPatternCompiler::compile(const std::string& pattern)
{
    const auto compiler
        = module_.entry<decltype(glimtoCaptureTextPatternCompiler)>(textPatternCompilerEntryName);
    return compiler()->compile(pattern);
}

} // namespace glimto
