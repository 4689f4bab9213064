#include "Backends/Portal/RestoreTokens.h"

#include <exception>
#include <utility>

#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "Support/AtomicFile.h"
#include "Support/EnvironmentVariable.h"
#include "Support/JSONFields.h"
#include "Support/Paths.h"
#include "Support/RegularFile.h"

namespace glimto {

namespace {

constexpr std::size_t mostBytes = 1U << 20U;
constexpr std::size_t longestToken = 4096;
constexpr std::size_t mostTokens = 200;

std::filesystem::path absoluteVariable(const char* name)
{
    const std::filesystem::path path = environmentVariable(name);
    return path.is_absolute() ? path : std::filesystem::path();
}

nlohmann::json readTokens(const std::filesystem::path& file)
{
    auto none = nlohmann::json::object();
    try {
        const auto text = readRegularFile(file, mostBytes, SymbolicLinks::refused);
        if (!text)
            return none;
        auto tokens = parseJSON(*text, file.filename().string());
        return tokens.is_object() ? tokens : none;
    } catch (const std::exception&) {
        return none;
    }
}

} // namespace

RestoreTokens::RestoreTokens(std::filesystem::path file)
    : file_(std::move(file))
{
}

std::filesystem::path RestoreTokens::usualFile()
{
    std::filesystem::path folder = absoluteVariable("XDG_STATE_HOME");
    if (folder.empty()) {
        const auto home = absoluteVariable("HOME");
        if (home.empty())
            return {};
        folder = home / ".local" / "state";
    }
    return folder / "glimto-capture" / "portal-restore-tokens.json";
}

std::string RestoreTokens::token(const std::string& purpose) const
{
    if (file_.empty())
        return {};
    const auto tokens = readTokens(file_);
    const auto found = tokens.find(purpose);
    if (found == tokens.end() || !found->is_string())
        return {};
    auto token = found->get<std::string>();
    // It goes into a message of the bus, which takes no zero bytes.
    return token.size() <= longestToken && token.find('\0') == std::string::npos ? token : std::string();
}

void RestoreTokens::keep(const std::string& purpose, const std::string& token) const noexcept
{
    try {
        if (file_.empty())
            return;
        auto tokens = readTokens(file_);
        if (token.empty() ? tokens.erase(purpose) == 0 : tokens.value(purpose, nlohmann::json()) == token)
            return;
        if (!token.empty())
            tokens[purpose] = token;
        if (tokens.size() > mostTokens)
            tokens = {{purpose, token}};
        const auto folder = file_.parent_path();
        makeDirectories(folder);
        ::chmod(folder.c_str(), S_IRWXU);
        writeFileAtomically(FileBelow::of(file_),
            tokens.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n", FileReaders::owner);
    } catch (const std::exception&) {
        // The user is asked again the next time.
    }
}

} // namespace glimto
