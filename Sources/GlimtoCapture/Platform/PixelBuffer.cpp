#include "Platform/PixelBuffer.h"

#include <bit>
#include <cstring>

namespace glimto {

namespace {

// Words are read and written as the machine has them.
static_assert(std::endian::native == std::endian::little);

// A pixel of three bytes.
struct Word24 {
    std::uint8_t bytes[3];

    Word24() = default;
    explicit Word24(std::uint32_t word)
        : bytes{static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(word >> 8U),
            static_cast<std::uint8_t>(word >> 16U)}
    {
    }
    explicit operator std::uint32_t() const
    {
        return bytes[0] | std::uint32_t{bytes[1]} << 8U | std::uint32_t{bytes[2]} << 16U;
    }
};

// Turns a channel of some bits into one of others: value * factor, rounded. The factor has so many binary
// places that the result is exact for all channels of up to 10 bits.
struct ChannelScale {
    static constexpr unsigned places = 20;

    PixelChannel from;
    PixelChannel to;
    std::uint32_t factor;
    std::uint32_t mask;

    ChannelScale(const PixelChannel& theFrom, const PixelChannel& theTo)
        : from(theFrom)
        , to(theTo)
        , mask((1U << from.bits) - 1U)
    {
        const std::uint32_t largest = (1U << to.bits) - 1U;
        factor = ((largest << places) + mask / 2) / mask;
    }

    // Where both have the same bits nothing is scaled, which is three times as fast.
    template <bool isScaled> std::uint32_t apply(std::uint32_t word) const
    {
        std::uint32_t value = (word >> from.shift) & mask;
        if constexpr (isScaled)
            value = (value * factor + (1U << (places - 1))) >> places;
        return value << to.shift;
    }
};

// Turns pixels of one layout into pixels of another.
struct PixelConversion {
    ChannelScale red;
    ChannelScale green;
    ChannelScale blue;
    std::uint32_t opaque;

    PixelConversion(const PixelLayout& from, const PixelLayout& to)
        : red(from.red, to.red)
        , green(from.green, to.green)
        , blue(from.blue, to.blue)
        , opaque(~(to.red.mask() | to.green.mask() | to.blue.mask()))
    {
    }

    bool isScaled() const
    {
        return red.from.bits != red.to.bits || green.from.bits != green.to.bits
            || blue.from.bits != blue.to.bits;
    }

    template <bool isScaled> std::uint32_t apply(std::uint32_t word) const
    {
        return red.template apply<isScaled>(word) | green.template apply<isScaled>(word)
            | blue.template apply<isScaled>(word) | opaque;
    }
};

// The conversion is a copy so that the compiler sees that the pixels written do not change it; it converts
// several pixels at once then.
template <bool isScaled, typename FromWord, typename ToWord>
void convertRow(PixelConversion conversion, const std::uint8_t* from, std::uint8_t* to, int width)
{
    for (int x = 0; x < width; ++x, from += sizeof(FromWord), to += sizeof(ToWord)) {
        FromWord in;
        std::memcpy(&in, from, sizeof in);
        const auto out
            = static_cast<ToWord>(conversion.template apply<isScaled>(static_cast<std::uint32_t>(in)));
        std::memcpy(to, &out, sizeof out);
    }
}

using RowConverter = void (*)(PixelConversion, const std::uint8_t*, std::uint8_t*, int);

template <bool isScaled, typename FromWord> RowConverter rowConverterTo(std::size_t bytesPerPixel)
{
    switch (bytesPerPixel) {
    case 2:
        return convertRow<isScaled, FromWord, std::uint16_t>;
    case 3:
        return convertRow<isScaled, FromWord, Word24>;
    default:
        return convertRow<isScaled, FromWord, std::uint32_t>;
    }
}

template <bool isScaled> RowConverter rowConverter(std::size_t fromBytesPerPixel, std::size_t toBytesPerPixel)
{
    switch (fromBytesPerPixel) {
    case 2:
        return rowConverterTo<isScaled, std::uint16_t>(toBytesPerPixel);
    case 3:
        return rowConverterTo<isScaled, Word24>(toBytesPerPixel);
    default:
        return rowConverterTo<isScaled, std::uint32_t>(toBytesPerPixel);
    }
}

} // namespace

PixelCanvas makeCanvas(int width, int height, PixelFormat format)
{
    const std::size_t bytesPerRow = layoutOf(format).bytesPerPixel * static_cast<std::size_t>(width);
    const std::shared_ptr<std::uint8_t[]> bytes(
        new std::uint8_t[bytesPerRow * static_cast<std::size_t>(height)]);
    return {width, height, bytesPerRow, bytes.get(), bytes, format};
}

bool servesAs(PixelFormat format, PixelFormat wanted)
{
    return format == wanted || (!hasAlpha(wanted) && layoutOf(format) == layoutOf(wanted));
}

void convertPixels(const PixelBuffer& from, const PixelCanvas& to)
{
    const PixelLayout fromLayout = layoutOf(from.format);
    const PixelLayout toLayout = layoutOf(to.format);
    if (servesAs(from.format, to.format)) {
        for (int y = 0; y < to.height; ++y)
            std::memcpy(to.pixelAt(0, y), from.pixelAt(0, y),
                toLayout.bytesPerPixel * static_cast<std::size_t>(to.width));
        return;
    }
    const PixelConversion conversion(fromLayout, toLayout);
    const RowConverter convert
        = (conversion.isScaled() ? rowConverter<true> : rowConverter<false>)(fromLayout.bytesPerPixel,
            toLayout.bytesPerPixel);
    for (int y = 0; y < to.height; ++y)
        convert(conversion, from.pixelAt(0, y), to.pixelAt(0, y), to.width);
}

PixelCanvas copyOf(const PixelBuffer& pixels, PixelFormat format)
{
    const PixelCanvas copy = makeCanvas(pixels.width, pixels.height, format);
    convertPixels(pixels, copy);
    return copy;
}

} // namespace glimto
