#pragma once

#include "Backends/X264/I420Picture.h"

namespace glimto {

// How much there is to encode in a picture that nothing before it helps to predict: differences of luma
// between neighbours, summed up over all pixels, of which every eighth row is looked at. Flat areas and
// straight edges along rows or columns count little, as they cost little.
double detailOf(const I420Picture& picture);

} // namespace glimto
