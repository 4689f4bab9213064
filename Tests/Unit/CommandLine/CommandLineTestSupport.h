#pragma once

#include <filesystem>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "CommandLine/CLI.h"
#include "Fakes/FakeProcessEnvironment.h"
#include "Support/Errors.h"

namespace glimto {

// Parses command lines in an environment without variables.
class CommandLineTests : public testing::Test {
protected:
    using Arguments = std::vector<std::string>;

    Command parse(const Arguments& arguments) const { return CLI::parse(arguments, environment); }

    template <typename Options> Options parsed(const Arguments& arguments) const
    {
        return std::get<Options>(parse(arguments));
    }

    // The message of the CLIError with which parsing fails, or "no error".
    std::string failure(const Arguments& arguments) const
    {
        try {
            parse(arguments);
        } catch (const CLIError& error) {
            return error.what();
        }
        return "no error";
    }

    static std::filesystem::path here(const std::string& relativePath)
    {
        return std::filesystem::current_path() / relativePath;
    }

    FakeProcessEnvironment environment;
};

} // namespace glimto
