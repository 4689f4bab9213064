#include "Platform/MediaTime.h"

#include <cmath>

namespace glimto {

namespace {

__extension__ using Wide = __int128;

} // namespace

MediaTime MediaTime::fromSeconds(double seconds, std::int32_t timescale)
{
    return {std::llround(seconds * timescale), timescale};
}

double MediaTime::seconds() const
{
    return static_cast<double>(value) / static_cast<double>(timescale);
}

MediaTime MediaTime::converted(std::int32_t newTimescale) const
{
    if (newTimescale == timescale)
        return *this;
    const Wide scaled = static_cast<Wide>(value) * newTimescale;
    const Wide half = timescale / 2;
    const Wide rounded = scaled >= 0 ? (scaled + half) / timescale : (scaled - half) / timescale;
    return {static_cast<std::int64_t>(rounded), newTimescale};
}

MediaTime operator-(const MediaTime& a, const MediaTime& b)
{
    if (a.timescale == b.timescale)
        return {a.value - b.value, a.timescale};
    return MediaTime::fromNanoseconds(a.nanoseconds() - b.nanoseconds());
}

bool operator<(const MediaTime& a, const MediaTime& b)
{
    return static_cast<Wide>(a.value) * b.timescale < static_cast<Wide>(b.value) * a.timescale;
}

} // namespace glimto
