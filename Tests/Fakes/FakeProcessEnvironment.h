#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "Platform/ProcessEnvironment.h"

namespace glimto {

class FakeProcessEnvironment final : public ProcessEnvironment {
public:
    std::int32_t pid = 4711;
    std::string bundleID = "com.glimto.capture";
    std::optional<std::filesystem::path> executable;
    std::optional<std::filesystem::path> caches;
    std::map<std::string, std::string> variables;

    std::int32_t processID() const override { return pid; }
    std::string bundleIdentifier() const override { return bundleID; }
    std::optional<std::filesystem::path> executablePath() const override { return executable; }
    std::optional<std::filesystem::path> cachesDirectory() const override { return caches; }
    std::optional<std::string> variable(const std::string& name) const override
    {
        const auto found = variables.find(name);
        return found == variables.end() ? std::nullopt : std::optional(found->second);
    }
};

} // namespace glimto
