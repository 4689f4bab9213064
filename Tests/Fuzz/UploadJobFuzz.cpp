// "upload-job.json" as anybody may have changed it: what is taken comes back the same.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "Support/Errors.h"
#include "Upload/RecordingUploadJob.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace glimto;
    try {
        const auto job = decodeRecordingUploadJob({reinterpret_cast<const char*>(bytes), size});
        if (job.version == RecordingUploadJob::supportedVersion
            && decodeRecordingUploadJob(encodeRecordingUploadJob(job)) != job)
            std::abort();
    } catch (const Error&) {
        // Refused.
    }
    return 0;
}
