#pragma once

#include "Options/Command.h"
#include "Platform/ScreenAccess.h"
#include "Platform/ShareableContent.h"
#include "Support/LineOutput.h"

namespace glimto {

// Prints the displays with the index by which they are addressed, and the applications that have
// windows by name. Throws what the provider throws.
void listSources(ShareableContentProvider& provider, LineOutput& standardOutput);

// Prints the displays and windows as one line of JSON. Content that cannot be fetched is no failure
// of this operation: the line then tells the error.
void listWindowsJSON(ShareableContentProvider& provider, ScreenAccess& screen,
    const WindowListOptions& options, LineOutput& standardOutput);

} // namespace glimto
