#include "Backends/X264/PictureMotion.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace glimto {

namespace {

constexpr int blockSize = 16;
constexpr int rowsOfBlocks = 12; // that are looked at, and about as many blocks in each of them

// How far from its place a block is looked for, in pixels: in all directions, and straight up and down, as a
// page moves by its wheel and a log by its lines.
constexpr int nearby = 48;
constexpr int farAway = 160;

// How far from its place one is looked for that has become another, as by a zoom.
constexpr int closeBy = 6;

// With less luma between its neighbours than this, a block looks alike wherever it moves.
constexpr int flatBelow = 160;

struct Offset {
    int x = 0;
    int y = 0;
};

struct Plane {
    const std::uint8_t* samples;
    std::ptrdiff_t stride;
    int width;
    int height;

    explicit Plane(const I420Picture& picture)
        : samples(picture.plane(0))
        , stride(picture.stride(0))
        , width(picture.width())
        , height(picture.height())
    {
    }

    const std::uint8_t* at(int x, int y) const { return samples + y * stride + x; }
    bool holdsBlock(int x, int y) const
    {
        return x >= 0 && y >= 0 && x + blockSize <= width && y + blockSize <= height;
    }
};

bool isSameRow(const std::uint8_t* first, const std::uint8_t* second)
{
    return std::memcmp(first, second, blockSize) == 0;
}

int detailOfRow(const std::uint8_t* row)
{
    int sum = 0;
    for (int x = 1; x < blockSize; ++x)
        sum += std::abs(row[x] - row[x - 1]);
    return sum;
}

// One block of the picture after, looked for in the one before.
class Block {
public:
    Block(const Plane& before, const Plane& after, int left, int top)
        : before_(before)
        , after_(after)
        , left_(left)
        , top_(top)
    {
        int most = -1;
        for (int y = 0; y < blockSize; ++y) {
            const int here = detailOfRow(after.at(left, top + y));
            detail_ += here;
            if (here > most) {
                most = here;
                busiestRow_ = y;
            }
        }
    }

    bool isFlat() const { return detail_ < flatBelow; }

    bool standsAt(Offset offset) const
    {
        if (!before_.holdsBlock(left_ + offset.x, top_ + offset.y) || !isSameRowAt(offset, busiestRow_))
            return false;
        for (int y = 0; y < blockSize; ++y) {
            if (!isSameRowAt(offset, y))
                return false;
        }
        return true;
    }

    int detail() const { return detail_; }

    // What is left of it, at best, when a block that stands close by in the picture before is taken away.
    int remainder() const
    {
        int least = differenceAt({});
        for (int y = -closeBy; y <= closeBy; ++y) {
            for (int x = -closeBy; x <= closeBy; ++x) {
                if (before_.holdsBlock(left_ + x, top_ + y))
                    least = std::min(least, differenceAt({x, y}));
            }
        }
        return least;
    }

    std::optional<Offset> find() const
    {
        for (int y = -farAway; y <= farAway; ++y) {
            if (standsAt({0, y}))
                return Offset{0, y};
        }
        for (int y = -nearby; y <= nearby; ++y) {
            for (int x = -nearby; x <= nearby; ++x) {
                if (standsAt({x, y}))
                    return Offset{x, y};
            }
        }
        return std::nullopt;
    }

private:
    int differenceAt(Offset offset) const
    {
        int sum = 0;
        for (int y = 0; y < blockSize; ++y) {
            const std::uint8_t* now = after_.at(left_, top_ + y);
            const std::uint8_t* then = before_.at(left_ + offset.x, top_ + offset.y + y);
            for (int x = 0; x < blockSize; ++x)
                sum += std::abs(now[x] - then[x]);
        }
        return sum;
    }

    bool isSameRowAt(Offset offset, int y) const
    {
        return isSameRow(after_.at(left_, top_ + y), before_.at(left_ + offset.x, top_ + offset.y + y));
    }

    const Plane& before_;
    const Plane& after_;
    const int left_;
    const int top_;
    int detail_ = 0;
    int busiestRow_ = 0;
};

// Calls `look` for a sample of the blocks that look different in the picture after; flat ones are left out.
template <typename Look>
void lookAtMoved(const I420Picture& before, const I420Picture& after, const Look& look)
{
    const Plane from(before);
    const Plane to(after);
    const int step = std::max(after.height() / blockSize / rowsOfBlocks, 1);
    const int columns = (after.width() + blockSize - 1) / blockSize;
    for (int y = step / 2; y < after.height() / blockSize; y += step) {
        for (int x = step / 2; x < after.width() / blockSize; x += step) {
            if (after.unchangedMacroblocks()[static_cast<std::size_t>(y * columns + x)] != 0)
                continue;
            const Block block(from, to, x * blockSize, y * blockSize);
            if (!block.isFlat() && !block.standsAt({}))
                look(block);
        }
    }
}

} // namespace

Movement PictureMotion::movement() const
{
    constexpr double copiedAtLeast = 2.0 / 3;
    constexpr int fewestMovedBlocks = 8;
    if (movedBlocks < fewestMovedBlocks)
        return Movement::unknown;
    return copiedShare() >= copiedAtLeast ? Movement::copied : Movement::own;
}

PictureMotion motionBetween(const I420Picture& before, const I420Picture& after)
{
    PictureMotion motion;
    Offset last; // neighbours move alike
    lookAtMoved(before, after, [&](const Block& block) {
        ++motion.movedBlocks;
        const auto offset = block.standsAt(last) ? last : block.find();
        if (!offset)
            return;
        ++motion.copiedBlocks;
        last = *offset;
    });
    return motion;
}

double likenessOf(const I420Picture& before, const I420Picture& after)
{
    double detail = 0;
    double remainder = 0;
    lookAtMoved(before, after, [&](const Block& block) {
        detail += block.detail();
        remainder += block.remainder();
    });
    return detail / std::max(remainder, 1.0);
}

} // namespace glimto
