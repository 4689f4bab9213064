#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "AudioMixerFixture.h"

namespace glimto {

// What a mixer does, frame by frame: the sound of every source is kept for each frame of the timeline, and
// looked up when the frame is handed on. Slow and plain.
class AudioMixerModel {
public:
    using Frames = std::vector<std::pair<std::int64_t, StereoFrame>>;

    AudioMixerModel(const std::vector<AudioMixerSource>& sources, int sampleRate)
        : sampleRate_(sampleRate)
    {
        for (const auto source : sources)
            sources_[source] = {};
    }

    // The frames handed on because of it.
    Frames append(AudioMixerSource name, MediaTime time, const std::vector<StereoFrame>& sound)
    {
        Frames output;
        if (isFinished_ || sources_.count(name) == 0)
            return output;
        auto& source = sources_[name];
        const std::int64_t start = frameOf(time);
        const bool continues = source.end && std::abs(start - *source.end) <= sampleRate_ / 100;
        Frames accepted;
        std::int64_t frame = continues ? *source.end : start;
        for (const auto& value : sound) {
            if (!source.end || frame >= *source.end)
                accepted.push_back({frame, value});
            ++frame;
        }
        if (accepted.empty())
            return output;

        const std::int64_t first = accepted.front().first;
        source.end = accepted.back().first + 1;
        if (latestEnd && first - *latestEnd > sampleRate_) {
            handOn(*latestEnd, output);
            handedOnTo_ = first;
        }
        if (!handedOnTo_)
            handedOnTo_ = first;
        for (const auto& [at, value] : accepted)
            source.sound[at] = value;
        latestEnd = std::max(latestEnd.value_or(*source.end), *source.end);
        handOn(std::max(*latestEnd - sampleRate_ / 5, slowestEnd()), output);
        return output;
    }

    Frames finish()
    {
        Frames output;
        if (!isFinished_ && latestEnd)
            handOn(*latestEnd, output);
        isFinished_ = true;
        return output;
    }

    std::optional<std::int64_t> endOf(AudioMixerSource source) const
    {
        const auto found = sources_.find(source);
        return found == sources_.end() ? std::nullopt : found->second.end;
    }

    std::optional<std::int64_t> latestEnd; // of all sources

private:
    struct Source {
        std::optional<std::int64_t> end;
        std::map<std::int64_t, StereoFrame> sound;
    };

    std::int64_t frameOf(MediaTime time) const
    {
        return std::llround(static_cast<long double>(time.value) * sampleRate_ / time.timescale);
    }

    // As far as every source has delivered; long ago when one has not begun.
    std::int64_t slowestEnd() const
    {
        std::int64_t slowest = *latestEnd;
        for (const auto& [name, source] : sources_)
            slowest = std::min(slowest, source.end.value_or(INT64_MIN));
        return slowest;
    }

    void handOn(std::int64_t end, Frames& output)
    {
        for (std::int64_t frame = *handedOnTo_; frame < end; ++frame) {
            StereoFrame sum;
            for (const auto& [name, source] : sources_) {
                const auto found = source.sound.find(frame);
                if (found != source.sound.end())
                    sum = {sum.left + found->second.left, sum.right + found->second.right};
            }
            output.push_back(
                {frame, {std::clamp(sum.left, -1.0F, 1.0F), std::clamp(sum.right, -1.0F, 1.0F)}});
        }
        handedOnTo_ = std::max(*handedOnTo_, end);
    }

    int sampleRate_;
    std::map<AudioMixerSource, Source> sources_;
    std::optional<std::int64_t> handedOnTo_;
    bool isFinished_ = false;
};

} // namespace glimto
