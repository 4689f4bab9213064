#include "Upload/UploadAddressWarning.h"

#include <string>

#include "Support/Text.h"
#include "Support/WebAddress.h"

namespace glimto {

void warnOfPlainHTTP(const RecordingUploadOptions& options, LineOutput& standardError)
{
    const std::string host = hostOfWebAddress(options.apiBaseURL);
    if (!options.apiBaseURL.starts_with("http://") || isThisMachine(host))
        return;
    standardError.writeLine(
        "warning: the access key is sent to " + excerpt(host) + " without encryption. Use an https address.");
}

} // namespace glimto
