#pragma once

#include "Platform/ShareableContent.h"

namespace glimto {

// The two snapshots of shareable content that the program works with. Both throw what the provider
// throws.
class ScreenCaptureShareableContent {
public:
    // `provider` outlives this object.
    explicit ScreenCaptureShareableContent(ShareableContentProvider& provider)
        : provider_(provider)
    {
    }

    static constexpr ContentQuery recordingSourcesQuery
        = {.excludingDesktopWindows = false, .onScreenWindowsOnly = false};
    static constexpr ContentQuery pickerWindowCandidatesQuery
        = {.excludingDesktopWindows = true, .onScreenWindowsOnly = true};

    // Everything, for recordings, screenshots and lists of all sources.
    ShareableContent recordingSources() const { return provider_.fetch(recordingSourcesQuery); }

    // What a person may pick: windows on the screen, without those of the desktop.
    ShareableContent pickerWindowCandidates() const { return provider_.fetch(pickerWindowCandidatesQuery); }

private:
    ShareableContentProvider& provider_;
};

} // namespace glimto
