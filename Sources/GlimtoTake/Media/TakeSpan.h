#pragma once

#include <functional>
#include <optional>

#include "GlimtoTake/Media/TakeExamination.h"

namespace glimto {

// What of a take is wanted, in seconds from its first picture.
struct TakeSpan {
    double from = 0;
    double to = 0;

    double duration() const { return to - from; }
};

// The span that is asked for, cut to what there is. Throws CLIError when nothing of the take lies in it.
TakeSpan takeSpan(const TakeExamination& take, std::optional<double> from, std::optional<double> to);

// Told how much is done, from 0 to 1, every now and then.
using TakeProgress = std::function<void(double done)>;

} // namespace glimto
