#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Support/AtomicFile.h"

namespace glimto {

struct StoredObject {
    std::string key;
    std::uint64_t bytes = 0;
};

// Objects as files below one directory, by their keys. Keys that are no object keys are never used.
// Any thread may call.
class ObjectStore {
public:
    // Makes the directory. Throws PlatformError.
    explicit ObjectStore(std::filesystem::path directory);

    // A file that becomes the object when it is committed. Throws PlatformError.
    std::unique_ptr<AtomicFile> beginObject(const std::string& key);

    // Absent when there is no such object.
    std::optional<std::uint64_t> size(const std::string& key) const;

    // Where an object lies; absent when there is none. It is a regular file inside the directory.
    std::optional<std::filesystem::path> file(const std::string& key) const;

    // Where the objects lie whose keys begin with `prefix` and a slash.
    std::filesystem::path directory(const std::string& prefix) const { return directory_ / prefix; }

    // The JSON that an object holds; discarded when there is none, it is not valid, longer than 16 MiB, or
    // has more than a million values.
    nlohmann::json json(const std::string& key) const;

    // All objects whose keys begin with `prefix` and a slash, sorted.
    std::vector<StoredObject> objects(const std::string& prefix) const;

private:
    std::filesystem::path directory_;
};

} // namespace glimto
