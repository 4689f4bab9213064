#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Fakes/FileSizeLimit.h"
#include "Fakes/TemporaryDirectory.h"

namespace glimto {

// A fresh directory and what lies in it.
class TakeDirectory {
public:
    const std::filesystem::path& path() const { return directory_.path(); }

    std::string text(const std::string& relativePath) const
    {
        std::ifstream file(path() / relativePath, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    // Relative paths of all files, hidden ones as well, in order.
    std::vector<std::string> files() const
    {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path()))
            if (entry.is_regular_file())
                result.push_back(std::filesystem::relative(entry.path(), path()).string());
        std::sort(result.begin(), result.end());
        return result;
    }

private:
    TemporaryDirectory directory_;
};

// The lines, events without the fields that are the same in all of them or change with the time.
inline std::vector<std::string> withoutTimestamps(std::vector<std::string> lines)
{
    for (auto& line : lines) {
        if (!line.starts_with('{'))
            continue;
        auto event = nlohmann::json::parse(line);
        for (const char* key : {"schemaVersion", "eventType", "type", "timestamp"})
            event.erase(key);
        line = event.dump();
    }
    return lines;
}

} // namespace glimto
