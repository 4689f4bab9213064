#pragma once

#include "Options/RecordOptions.h"
#include "Options/RecordingUploadOptions.h"
#include "Platform/ProcessEnvironment.h"

namespace glimto {

// Upload options with the access key of the environment, taken as it is.
RecordingUploadOptions defaultUploadOptions(const ProcessEnvironment& environment);

// The upload options of `options`, made with the defaults first when there are none.
RecordingUploadOptions& ensureUploadOptions(RecordOptions& options, const ProcessEnvironment& environment);

// Overwrites the values of "--access-key" in the process's own arguments, which every user of the machine can
// read, with blanks. Call it once they have been copied.
void wipeAccessKeys(int argumentCount, char** argumentValues);

} // namespace glimto
