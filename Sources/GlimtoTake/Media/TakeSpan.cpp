#include "GlimtoTake/Media/TakeSpan.h"

#include <algorithm>
#include <cmath>

#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

TakeSpan takeSpan(const TakeExamination& take, std::optional<double> from, std::optional<double> to)
{
    const double end = take.video.end();
    TakeSpan span;
    span.from = std::max(from.value_or(0), take.video.start());
    span.to = std::min(to.value_or(end), end);
    if (!(span.from < span.to))
        throw CLIError("Nothing of the take lies between --from and --to; it ends after "
            + shortestDecimal(std::round(end * 1000) / 1000) + " s.");
    return span;
}

} // namespace glimto
