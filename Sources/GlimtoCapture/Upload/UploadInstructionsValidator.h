#pragma once

#include <memory>
#include <set>
#include <string>

#include "Platform/TextPattern.h"
#include "Upload/UploadWireFormat.h"

namespace glimto {

// Which object keys the API allows: those it plans, and those that one of its patterns finds.
class UploadInstructionsValidator {
public:
    // Throws PlatformError when a pattern does not compile.
    UploadInstructionsValidator(const UploadInstructions& instructions, TextPatternCompiler& patterns);

    // Throws CLIError when the key is not allowed, and PlatformError when a pattern takes too long.
    void validate(const std::string& key) const;

private:
    std::set<std::string> plannedKeys_;
    std::string objectPrefix_;
    std::unique_ptr<TextPattern> videoSegmentKeys_;
    std::unique_ptr<TextPattern> audioSegmentKeys_;
};

} // namespace glimto
