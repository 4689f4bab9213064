#include "CommandLine/UploadDefaults.h"

namespace glimto {

RecordingUploadOptions defaultUploadOptions(const ProcessEnvironment& environment)
{
    RecordingUploadOptions options;
    options.accessKey = environment.variable(accessKeyVariable);
    return options;
}

RecordingUploadOptions& ensureUploadOptions(RecordOptions& options, const ProcessEnvironment& environment)
{
    if (!options.upload)
        options.upload = defaultUploadOptions(environment);
    return *options.upload;
}

} // namespace glimto
