#pragma once

#include "GlimtoTake/Media/TakeSpan.h"
#include "TakeExport.h"
#include "TakeOptions.h"

namespace glimto {

// Renders the take as `options` ask, into an .mp4 file; or, with --plan-only, writes the plan of its zooms.
//
// Throws CLIError when the output's name or an option does not fit, or the zooms shall follow input events
// that the take has not, and PlatformError.
ExportReport renderTakeFile(const TakeOptions& options, const TakeProgress& progress);

} // namespace glimto
