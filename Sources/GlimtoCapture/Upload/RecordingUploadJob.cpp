#include "Upload/RecordingUploadJob.h"

#include "Support/JSONFields.h"
#include "Support/JSONText.h"

namespace glimto {

std::string encodeRecordingUploadJob(const RecordingUploadJob& job)
{
    auto object = toJSON(job);
    object["recordingId"] = job.recordingId; // as it is: another one would be another recording
    return encodePrettyJSON(object);
}

RecordingUploadJob decodeRecordingUploadJob(std::string_view text)
{
    const auto json = parseJSON(text, "upload-job.json");
    const JSONFields fields(json, "upload-job.json");
    RecordingUploadJob job;
    fields.read("version", job.version);
    if (job.version == RecordingUploadJob::supportedVersion)
        readFields(fields, job);
    return job;
}

} // namespace glimto
