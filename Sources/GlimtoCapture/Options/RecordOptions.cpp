#include "Options/RecordOptions.h"

#include "Support/TimeStamps.h"

namespace glimto {

std::string RecordOptions::timestampedDirectoryName()
{
    return "capture-" + compactLocalTimestamp(std::chrono::system_clock::now());
}

} // namespace glimto
