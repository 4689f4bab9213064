#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Platform/Pasteboard.h"

namespace glimto {

class FakePasteboard final : public Pasteboard {
public:
    std::optional<std::string> obstacle; // what stands in the way
    std::optional<std::vector<std::byte>> png; // what is on it

    std::optional<std::string> setPNG(std::span<const std::byte> data) override
    {
        if (!obstacle)
            png.emplace(data.begin(), data.end());
        return obstacle;
    }
};

} // namespace glimto
