#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace glimto {

// The host part of a Host header (RFC 9110 section 7.2), in small letters and without the brackets of an
// IPv6 address. Empty when the header is none.
std::string hostNameOf(std::string_view header);

// Whether `host`, as hostNameOf() gives it, is an address and no name.
bool isAddress(const std::string& host);

// Whether `host` is this machine for everyone: localhost, 127.0.0.0/8, ::1.
bool isLoopback(const std::string& host);

// The names under which a server may be asked. A page of another site reaches it by an address, which the
// browser then names as the page's origin, or by a name of its own that leads here; to such a name the server
// does not answer, or the page would read the answer as its own.
class ServedNames {
public:
    // `boundAddress` as the user gave it.
    ServedNames(std::string boundAddress, std::vector<std::string> names);

    // Whether the request with these headers may be answered.
    bool includes(std::string_view hostHeader) const;

private:
    std::string boundAddress_;
    std::vector<std::string> names_;
};

// Whether a request with this Origin header (RFC 6454 section 7) comes from a page of the server's own.
bool isOwnOrigin(std::string_view originHeader, std::string_view hostHeader);

} // namespace glimto
