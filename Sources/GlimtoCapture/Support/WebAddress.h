#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace glimto {

// Read here and not by the library that sends: a command line is checked before that is loaded, and a command
// that sends nothing never loads it. What is refused here never comes to it.

// Whether `text` is a URL (RFC 3986) with the scheme "http" or "https", in lower case, and a host.
bool isWebAddress(std::string_view text);

// `text` with every byte percent-encoded (RFC 3986 section 2.1) that is no ASCII letter or digit and not one
// of `plain`.
std::string percentEncoded(std::string_view text, std::string_view plain);

// `text` as one path segment of a URL (RFC 3986 section 3.3): "a b/c" gives "a%20b%2Fc".
std::string percentEncodedPathSegment(std::string_view text);

// `address` with each segment added to its path, percent-encoded and behind one slash. A query or
// fragment stays behind the path.
//
// Example: "http://host:3000/" and {"recordings", "a b"} give "http://host:3000/recordings/a%20b".
std::string appendingPathSegments(std::string_view address, std::initializer_list<std::string_view> segments);

// The host of a web address in lower case, an IPv6 address in its brackets: "http://a@B:1/c" gives "b".
std::string hostOfWebAddress(std::string_view address);

// Whether a host, as hostOfWebAddress() gives it, is this machine by itself: "localhost" and names below it
// (RFC 6761 section 6.3), 127.0.0.0/8 and ::1.
bool isThisMachine(std::string_view host);

// The path of a web address with its percent-encoding undone, without query and fragment.
std::string pathOfWebAddress(std::string_view address);

} // namespace glimto
