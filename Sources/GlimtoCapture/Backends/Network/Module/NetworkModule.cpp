#include "Backends/Network/CurlHTTPTransport.h"
#include "Backends/Network/ICUTextPattern.h"
#include "Support/ModuleTable.h"

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    return moduleTable<Provided<HTTPTransport, CurlHTTPTransport>,
        Provided<TextPatternCompiler, ICUTextPatternCompiler>>();
}
