#include "Backends/MP4/BoxWriter.h"

#include <cassert>

namespace glimto {

BoxWriter::Box::Box(BoxWriter& writer, std::string_view type)
    : writer_(writer)
    , start_(writer.position())
{
    assert(type.size() == 4);
    writer.number32(0);
    writer.text(type);
}

BoxWriter::Box::~Box()
{
    writer_.setNumber32(start_, static_cast<std::uint32_t>(writer_.position() - start_));
}

void BoxWriter::setNumber32(std::size_t position, std::uint32_t value) noexcept
{
    for (std::size_t index = 0; index < 4; ++index)
        output_[position + index] = static_cast<std::byte>(value >> (24 - 8 * index));
}

void BoxWriter::number(std::uint64_t value, int byteCount)
{
    for (int index = byteCount - 1; index >= 0; --index)
        output_.push_back(static_cast<std::byte>(value >> (8 * index)));
}

} // namespace glimto
