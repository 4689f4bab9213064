#pragma once

#include "Options/RecordingUploadOptions.h"
#include "Support/LineOutput.h"

namespace glimto {

// Warns when the access key goes over the network without encryption: by plain http to another host than this
// machine.
void warnOfPlainHTTP(const RecordingUploadOptions& options, LineOutput& standardError);

} // namespace glimto
