#include "Backends/X264/KeptKeyframes.h"

#include <utility>

namespace glimto {

void KeptKeyframes::keep(Keyframe keyframe)
{
    if (!keyframe.standsStill || keyframe.quantizer != quantizer_)
        forget();
    quantizer_ = keyframe.quantizer;
    lastID_ = keyframe.id;
    keyframes_.at(static_cast<std::size_t>(keyframe.id)) = std::move(keyframe.data);
}

void KeptKeyframes::followedByPredicted()
{
    forget();
    lastID_.reset();
}

void KeptKeyframes::forget()
{
    for (auto& keyframe : keyframes_)
        keyframe.clear();
}

const std::vector<std::byte>* KeptKeyframes::next() const
{
    if (!lastID_)
        return nullptr;
    const auto& keyframe = keyframes_.at(static_cast<std::size_t>(1 - *lastID_));
    return keyframe.empty() ? nullptr : &keyframe;
}

} // namespace glimto
