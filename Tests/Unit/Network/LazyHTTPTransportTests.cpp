#include "Backends/Network/Loader/LazyHTTPTransport.h"

#include <gtest/gtest.h>

#include "Backends/Network/Loader/LazyTextPatternCompiler.h"
#include "Backends/Network/Loader/NetworkModuleEntry.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

constexpr const char* missing
    = "The network is not available: glimto-capture-network.so is missing beside the program.";

TEST(LazyHTTPTransportTests, AMissingModuleEndsEveryRequest)
{
    LoadableModule module(networkModuleFileName, {"/nonexistent"}, "The network");
    LazyHTTPTransport transport(module);
    std::string message;
    const auto transfer = transport.start(HTTPRequest(),
        [&](const HTTPResponse&, const std::exception_ptr& error) { message = errorFacts(error).message; });
    EXPECT_NE(transfer, nullptr);
    EXPECT_EQ(message, missing);
}

TEST(LazyHTTPTransportTests, AMissingModuleCompilesNoPattern)
{
    LoadableModule module(networkModuleFileName, {"/nonexistent"}, "The network");
    LazyTextPatternCompiler compiler(module);
    try {
        compiler.compile("a");
        FAIL();
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(), missing);
    }
}

} // namespace
} // namespace glimto
