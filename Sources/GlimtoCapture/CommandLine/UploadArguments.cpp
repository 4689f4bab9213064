#include "CommandLine/UploadArguments.h"

#include <cstring>
#include <string_view>

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

void wipeAccessKeys(int argumentCount, char** argumentValues)
{
    for (int index = 1; index + 1 < argumentCount; ++index) {
        if (std::string_view(argumentValues[index]) == "--access-key")
            std::memset(argumentValues[index + 1], ' ', std::strlen(argumentValues[index + 1]));
    }
}

} // namespace glimto
