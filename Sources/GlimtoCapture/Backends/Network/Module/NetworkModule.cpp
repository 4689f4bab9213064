#include "Backends/Network/CurlHTTPTransport.h"
#include "Backends/Network/ICUTextPattern.h"
#include "Backends/Network/Loader/NetworkModuleEntry.h"

// Both live as long as the process.
extern "C" glimto::HTTPTransport* glimtoCaptureHTTPTransport()
{
    static glimto::CurlHTTPTransport transport;
    return &transport;
}

extern "C" glimto::TextPatternCompiler* glimtoCaptureTextPatternCompiler()
{
    static glimto::ICUTextPatternCompiler compiler;
    return &compiler;
}
