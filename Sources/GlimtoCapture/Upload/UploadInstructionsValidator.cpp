#include "Upload/UploadInstructionsValidator.h"

#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

UploadInstructionsValidator::UploadInstructionsValidator(
    const UploadInstructions& instructions, TextPatternCompiler& patterns)
    : plannedKeys_(instructions.plannedUploads.required.begin(), instructions.plannedUploads.required.end())
    , objectPrefix_(instructions.objectPrefix)
    , videoSegmentKeys_(patterns.compile(instructions.allowedVideoSegmentKeyPattern))
    , audioSegmentKeys_(patterns.compile(instructions.allowedAudioSegmentKeyPattern))
{
    const auto& optional = instructions.plannedUploads.optional;
    plannedKeys_.insert(optional.begin(), optional.end());
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
