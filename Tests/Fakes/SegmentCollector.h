#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <utility>
#include <vector>

#include "Platform/AssetWriter.h"

namespace glimto {

// Keeps everything that an asset writer puts out.
class SegmentCollector final : public AssetWriterDelegate {
public:
    struct Segment {
        std::vector<std::byte> data;
        SegmentReport report;
    };

    void didOutputInitializationSegment(std::span<const std::byte> data) override
    {
        if (beforeInitialization)
            beforeInitialization();
        initialization.assign(data.begin(), data.end());
    }
    void didOutputSegmentData(std::span<const std::byte> data) override
    {
        current.insert(current.end(), data.begin(), data.end());
    }
    void didFinishSegment(const SegmentReport& report) override
    {
        segments.push_back({std::exchange(current, {}), report});
    }

    std::vector<std::byte> playable(const std::vector<Segment>& parts) const
    {
        std::vector<std::byte> all = initialization;
        for (const Segment& part : parts)
            all.insert(all.end(), part.data.begin(), part.data.end());
        return all;
    }

    std::function<void()> beforeInitialization;
    std::vector<std::byte> initialization;
    std::vector<std::byte> current;
    std::vector<Segment> segments;
};

} // namespace glimto
