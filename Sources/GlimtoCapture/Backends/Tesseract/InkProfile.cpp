#include "Backends/Tesseract/InkProfile.h"

#include <cstddef>

#include <leptonica/allheaders.h>

#include "Backends/Tesseract/Leptonica.h"

namespace glimto {

namespace {

PixHandle clipped(Pix* ink, const PixelRect& area)
{
    Box* box = boxCreate(area.x, area.y, area.width, area.height);
    PixHandle part(pixClipRectangle(ink, box, nullptr));
    boxDestroy(&box);
    return part;
}

InkProfile profile(Numa* counts)
{
    InkProfile values(static_cast<std::size_t>(numaGetCount(counts)));
    for (std::size_t index = 0; index < values.size(); ++index)
        numaGetIValue(counts, static_cast<l_int32>(index), &values[index]);
    numaDestroy(&counts);
    return values;
}

} // namespace

InkProfile inkByRow(Pix* ink, const PixelRect& area)
{
    const PixHandle part = clipped(ink, area);
    return part ? profile(pixCountPixelsByRow(part.get(), nullptr)) : InkProfile{};
}

InkProfile inkByColumn(Pix* ink, const PixelRect& area)
{
    const PixHandle part = clipped(ink, area);
    return part ? profile(pixCountPixelsByColumn(part.get())) : InkProfile{};
}

std::vector<Span> inkRuns(const InkProfile& profile, int gap)
{
    std::vector<Span> found;
    for (int index = 0; index < static_cast<int>(profile.size()); ++index) {
        if (profile[static_cast<std::size_t>(index)] == 0)
            continue;
        if (!found.empty() && index - found.back().end < gap)
            found.back().end = index + 1;
        else
            found.push_back({index, index + 1});
    }
    return found;
}

} // namespace glimto
