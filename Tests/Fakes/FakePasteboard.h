#pragma once

#include <optional>
#include <span>
#include <vector>

#include "Platform/Pasteboard.h"

namespace glimto {

class FakePasteboard final : public Pasteboard {
public:
    bool succeeds = true;
    std::optional<std::vector<std::byte>> png; // what is on it

    bool setPNG(std::span<const std::byte> data) override
    {
        if (succeeds)
            png.emplace(data.begin(), data.end());
        return succeeds;
    }
};

} // namespace glimto
