#pragma once

#include "Platform/HTTPTransport.h"
#include "Platform/Service.h"
#include "Platform/TextPattern.h"
#include "Support/LineOutput.h"
#include "Upload/UploadClock.h"

namespace glimto {

// What an upload asks of the system. The services outlive every upload.
struct UploadServices {
    Service<HTTPTransport> transport;
    Service<TextPatternCompiler> patterns;
    UploadClock& clock;
    Outputs outputs;
};

} // namespace glimto
