#include "Platform/Service.h"

#include <gtest/gtest.h>

#include "Platform/TextPattern.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

class NoPatterns final : public TextPatternCompiler {
public:
    std::unique_ptr<TextPattern> compile(const std::string&) override { return nullptr; }
};

TEST(ServiceTests, AServiceThatIsThereStandsForItself)
{
    NoPatterns patterns;
    const Service<TextPatternCompiler> service(patterns);
    const TextPatternCompiler& used = service;
    EXPECT_EQ(&used, &patterns);
}

TEST(ServiceTests, AModuleIsAskedForWhenTheServiceIsUsed)
{
    LoadableModule module("glimto-capture-network.so", {"/nonexistent"}, "The network");
    const Service<TextPatternCompiler> service(module);
    try {
        service.get().compile("a");
        FAIL();
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(),
            "The network is not available: glimto-capture-network.so is missing beside the program.");
    }
}

} // namespace
} // namespace glimto
