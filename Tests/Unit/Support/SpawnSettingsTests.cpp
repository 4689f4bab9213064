#include "Support/SpawnSettings.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace glimto {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(SpawnSettingsTests, TheEnvironmentIsHandedDownWithoutTheAccessKey)
{
    ::setenv("GLIMTO_DESKTOP_ACCESS_KEY", "a secret", 1);
    ::setenv("GLIMTO_DESKTOP_ACCESS_KEYRING", "harmless", 1);
    const SpawnSettings settings;
    ::unsetenv("GLIMTO_DESKTOP_ACCESS_KEY");
    std::vector<std::string> variables;
    for (auto* const* variable = settings.environment(); *variable; ++variable)
        variables.emplace_back(*variable);
    EXPECT_THAT(variables, Each(Not(HasSubstr("a secret"))));
    EXPECT_THAT(variables, Contains("GLIMTO_DESKTOP_ACCESS_KEYRING=harmless"));
}

} // namespace
} // namespace glimto
