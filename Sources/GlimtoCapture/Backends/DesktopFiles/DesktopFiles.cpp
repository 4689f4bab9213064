#include "Backends/DesktopFiles/DesktopFiles.h"

#include <algorithm>
#include <system_error>

#include "Support/EnvironmentVariable.h"
#include "Support/Errors.h"
#include "Support/RegularFile.h"
#include "Support/Text.h"

namespace glimto {

namespace {

// Real desktop files with all their translations have up to some 100 kB.
constexpr std::size_t maximumFileBytes = 256 * 1024;
constexpr std::size_t maximumFiles = 5000;
constexpr std::size_t maximumIDBytes = 200;
constexpr int maximumDepth = 3;
constexpr std::string_view suffix = ".desktop";

// The start of a regular file; nothing when it cannot be read. Never blocks on a pipe or device.
std::optional<std::string> readStart(const std::filesystem::path& path)
{
    try {
        const auto file = RegularFile::open(path);
        return file ? std::optional(file->readText(maximumFileBytes)) : std::nullopt;
    } catch (const PlatformError&) {
        return std::nullopt;
    }
}

// Ids come from the windows of others: one that could lead out of the directories is none.
bool isUsableID(const std::string& id)
{
    return !id.empty() && id.size() <= maximumIDBytes && id.front() != '.'
        && id.find('/') == std::string::npos && id.find('\0') == std::string::npos;
}

void appendApplications(std::vector<std::filesystem::path>& directories, std::string_view dataDirectory)
{
    // Relative paths are to be ignored.
    if (!dataDirectory.empty() && dataDirectory.front() == '/')
        directories.push_back(std::filesystem::path(dataDirectory) / "applications");
}

struct Entry {
    std::filesystem::path path;
    std::string fileName;
    bool isDirectory = false;
};

// What a directory holds, by name; as much as can be read of it.
std::vector<Entry> sortedEntries(const std::filesystem::path& directory)
{
    std::vector<Entry> entries;
    std::error_code error;
    std::filesystem::directory_iterator at(directory, error);
    for (; !error && at != std::filesystem::directory_iterator() && entries.size() < maximumFiles;
         at.increment(error)) {
        std::error_code typeError;
        entries.push_back({at->path(), at->path().filename().string(), at->is_directory(typeError)});
    }
    std::sort(entries.begin(), entries.end(),
        [](const Entry& a, const Entry& b) { return a.fileName < b.fileName; });
    return entries;
}

} // namespace

DesktopFiles::DesktopFiles(std::vector<std::filesystem::path> directories)
    : directories_(std::move(directories))
{
}

std::vector<std::filesystem::path> DesktopFiles::standardDirectories()
{
    std::vector<std::filesystem::path> directories;
    const auto dataHome = environmentVariable("XDG_DATA_HOME");
    const auto home = environmentVariable("HOME");
    if (!dataHome.empty())
        appendApplications(directories, dataHome);
    else if (!home.empty())
        appendApplications(directories, home + "/.local/share");

    auto list = environmentVariable("XDG_DATA_DIRS");
    if (list.empty())
        list = "/usr/local/share:/usr/share";
    for (std::string_view rest = list; !rest.empty();) {
        const auto end = std::min(rest.find(':'), rest.size());
        appendApplications(directories, rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return directories;
}

std::optional<DesktopApplication> DesktopFiles::withID(const std::string& id)
{
    if (!isUsableID(id))
        return std::nullopt;
    const auto known = byID_.find(id);
    if (known != byID_.end())
        return known->second;
    return byID_[id] = readID(id);
}

std::optional<DesktopApplication> DesktopFiles::readID(const std::string& id) const
{
    for (const auto& directory : directories_) {
        auto text = readStart(directory / (id + std::string(suffix)));
        // A '-' in an id may stand for a folder: "kde-dolphin" may be kde/dolphin.desktop.
        const auto dash = id.find('-');
        if (!text && dash != std::string::npos && dash > 0 && dash + 1 < id.size())
            text = readStart(directory / id.substr(0, dash) / (id.substr(dash + 1) + std::string(suffix)));
        if (!text)
            continue;
        auto entry = parseDesktopEntry(*text);
        if (!entry.isApplication())
            return std::nullopt;
        return DesktopApplication{validUTF8(id), std::move(entry.name)};
    }
    return std::nullopt;
}

std::optional<DesktopApplication> DesktopFiles::withWindowClass(const std::string& windowClass)
{
    if (!byWindowClass_)
        indexWindowClasses();
    const auto found = byWindowClass_->find(lowercased(windowClass));
    return found == byWindowClass_->end() ? std::nullopt : std::optional(found->second);
}

void DesktopFiles::indexWindowClasses()
{
    byWindowClass_.emplace();
    std::set<std::string> seen;
    for (const auto& directory : directories_)
        indexDirectory(directory, "", 1, seen);
}

void DesktopFiles::indexDirectory(const std::filesystem::path& directory, const std::string& idPrefix,
    int depth, std::set<std::string>& seen)
{
    for (const auto& file : sortedEntries(directory)) {
        if (seen.size() >= maximumFiles)
            return;
        if (file.isDirectory) {
            if (depth < maximumDepth)
                indexDirectory(file.path, idPrefix + file.fileName + "-", depth + 1, seen);
            continue;
        }
        if (!file.fileName.ends_with(suffix))
            continue;
        const auto id = idPrefix + file.fileName.substr(0, file.fileName.size() - suffix.size());
        if (!seen.insert(id).second)
            continue;
        const auto text = readStart(file.path);
        if (!text || text->find("StartupWMClass") == std::string::npos)
            continue;
        auto entry = parseDesktopEntry(*text);
        if (entry.isApplication() && !entry.startupWMClass.empty())
            byWindowClass_->emplace(
                lowercased(entry.startupWMClass), DesktopApplication{validUTF8(id), std::move(entry.name)});
    }
}

} // namespace glimto
