#pragma once

#include <optional>
#include <string>

namespace glimto {

// Scheme, host and port of a URL: who gets a request (RFC 6454).
struct WebOrigin {
    std::string scheme; // lower case
    std::string host; // lower case
    std::string port; // in decimal, also when it is the scheme's usual one

    // Absent when `url` is no http or https URL.
    static std::optional<WebOrigin> of(const std::string& url);

    // For messages: "https://host:8443", without a usual port.
    std::string text() const;

    friend bool operator==(const WebOrigin&, const WebOrigin&) = default;
};

} // namespace glimto
