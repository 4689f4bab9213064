#include "Upload/UploadAddressWarning.h"

#include <algorithm>
#include <string>

#include "Support/Text.h"
#include "Support/WebAddress.h"

namespace glimto {

namespace {

// "localhost" and names below it (RFC 6761 section 6.3), 127.0.0.0/8 and ::1.
bool isThisMachine(std::string_view host)
{
    if (host == "localhost" || host.ends_with(".localhost") || host == "[::1]")
        return true;
    const bool isIPv4Address = std::count(host.begin(), host.end(), '.') == 3
        && host.find_first_not_of("0123456789.") == std::string_view::npos;
    return isIPv4Address && host.starts_with("127.");
}

} // namespace

void warnOfPlainHTTP(const RecordingUploadOptions& options, LineOutput& standardError)
{
    const std::string host = hostOfWebAddress(options.apiBaseURL);
    if (!options.apiBaseURL.starts_with("http://") || isThisMachine(host))
        return;
    standardError.writeLine(
        "warning: the access key is sent to " + excerpt(host) + " without encryption. Use an https address.");
}

} // namespace glimto
