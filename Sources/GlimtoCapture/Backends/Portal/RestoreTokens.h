#pragma once

#include <filesystem>
#include <string>

namespace glimto {

// What the portal gave for being asked again: with such a token it opens what the user picked the last time,
// without a question.
//
// They stand in one file for the user alone, "portal-restore-tokens.json", each under what was asked for. A
// token serves once; the next one comes with the session that it opened. A file that cannot be read, or is
// not ours, is as good as none: the user is asked.
class RestoreTokens {
public:
    explicit RestoreTokens(std::filesystem::path file);

    // "glimto-capture" below $XDG_STATE_HOME, which is an absolute path, or below ~/.local/state. Empty when
    // there is no home directory: nothing is kept then.
    static std::filesystem::path usualFile();

    // The token for `purpose`, at most 4096 bytes; empty when there is none.
    std::string token(const std::string& purpose) const;

    // An empty token removes what stands there. Failures are ignored: the user is asked again then.
    void keep(const std::string& purpose, const std::string& token) const noexcept;

private:
    std::filesystem::path file_;
};

} // namespace glimto
