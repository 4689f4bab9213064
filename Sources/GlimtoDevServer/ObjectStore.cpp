#include "ObjectStore.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

#include "RecordingKeys.h"
#include "Support/Errors.h"
#include "Support/JSONFields.h"
#include "Support/Paths.h"

namespace glimto {

namespace {

constexpr std::uint64_t mostJSONBytes = 16 << 20;
constexpr std::size_t mostJSONValues = 1'000'000; // a segment of a manifest has five

} // namespace

ObjectStore::ObjectStore(std::filesystem::path directory)
    : directory_(std::move(directory))
{
    makeDirectories(directory_);
}

std::unique_ptr<AtomicFile> ObjectStore::beginObject(const std::string& key)
{
    if (!isObjectKey(key))
        throw CLIError("The object key is not allowed.");
    const auto path = directory_ / key;
    makeDirectories(path.parent_path());
    return std::make_unique<AtomicFile>(path);
}

std::optional<std::filesystem::path> ObjectStore::file(const std::string& key) const
{
    if (!isObjectKey(key))
        return std::nullopt;
    auto path = directory_ / key;
    std::error_code ignored;
    // A symbolic link could lead out of the directory.
    if (std::filesystem::symlink_status(path, ignored).type() != std::filesystem::file_type::regular)
        return std::nullopt;
    return path;
}

std::optional<std::uint64_t> ObjectStore::size(const std::string& key) const
{
    const auto path = file(key);
    if (!path)
        return std::nullopt;
    std::error_code error;
    const auto bytes = std::filesystem::file_size(*path, error);
    if (error)
        return std::nullopt;
    return bytes;
}

nlohmann::json ObjectStore::json(const std::string& key) const
{
    const auto bytes = size(key);
    if (!bytes || *bytes > mostJSONBytes)
        return nlohmann::json(nlohmann::json::value_t::discarded);
    std::ifstream stream(directory_ / key, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    return parseBoundedJSON(text, mostJSONValues);
}

std::vector<StoredObject> ObjectStore::objects(const std::string& prefix) const
{
    std::vector<StoredObject> found;
    if (!isObjectKey(prefix))
        return found;
    std::error_code error;
    std::filesystem::recursive_directory_iterator entries(directory_ / prefix, error);
    const std::filesystem::recursive_directory_iterator end;
    for (; !error && entries != end; entries.increment(error)) {
        const auto name = entries->path().filename().string();
        // Objects on their way have hidden names.
        if (name.starts_with("."))
            continue;
        const auto key = entries->path().lexically_relative(directory_).generic_string();
        if (const auto bytes = size(key))
            found.push_back({key, *bytes});
    }
    std::sort(found.begin(), found.end(),
        [](const StoredObject& left, const StoredObject& right) { return left.key < right.key; });
    return found;
}

} // namespace glimto
