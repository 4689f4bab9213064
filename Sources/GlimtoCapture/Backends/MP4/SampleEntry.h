#pragma once

#include "Backends/MP4/BoxWriter.h"
#include "Backends/MP4/TrackDescription.h"

namespace glimto {

// Write the one entry of a track's sample description box (ISO/IEC 14496-12 section 8.5.2).

// "avc1", "avc3", "hvc1", "hev1" (ISO/IEC 14496-15), "av01", "vp09", and "mp4v" (ISO/IEC 14496-14). Throws
// PlatformError when the samples are of none of these formats.
void writeSampleEntry(BoxWriter& writer, const VideoTrackDescription& track);

// "mp4a" (ISO/IEC 14496-14 section 5.6).
void writeSampleEntry(BoxWriter& writer, const AudioTrackDescription& track);

} // namespace glimto
