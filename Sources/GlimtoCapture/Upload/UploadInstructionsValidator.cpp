#include "Upload/UploadInstructionsValidator.h"

#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

UploadInstructionsValidator::UploadInstructionsValidator(
    const UploadInstructions& instructions, TextPatternCompiler& patterns)
    : objectPrefix_(instructions.objectPrefix)
    , videoSegmentKeys_(patterns.compile(instructions.allowedSegmentKeyPatterns.video.regex))
    , audioSegmentKeys_(patterns.compile(instructions.allowedSegmentKeyPatterns.audio.regex))
{
    const auto& planned = instructions.plannedUploads;
    for (const auto* uploads : {&planned.required, &planned.optional}) {
        for (const auto& upload : *uploads)
            plannedKeys_.insert(upload.key);
    }
}

void UploadInstructionsValidator::validate(const std::string& key) const
{
    if (key != objectPrefix_ && !key.starts_with(objectPrefix_ + "/"))
        throw CLIError("Upload artifact key is outside the assigned prefix: " + excerpt(key));
    if (plannedKeys_.contains(key) || videoSegmentKeys_->isFoundIn(key) || audioSegmentKeys_->isFoundIn(key))
        return;
    throw CLIError("Upload artifact key is not allowed by the API contract: " + excerpt(key));
}

} // namespace glimto
