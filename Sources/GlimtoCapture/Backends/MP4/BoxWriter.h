#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace glimto {

// Writes boxes (ISO/IEC 14496-12 section 4.2) to the end of a buffer. Numbers are big-endian.
class BoxWriter {
public:
    // What is written while a Box lives is its content; its size is settled when it goes.
    class Box {
    public:
        ~Box();
        Box(const Box&) = delete;
        Box& operator=(const Box&) = delete;

    private:
        friend class BoxWriter;
        Box(BoxWriter& writer, std::string_view type);

        BoxWriter& writer_;
        std::size_t start_;
    };

    // `output` outlives the writer.
    explicit BoxWriter(std::vector<std::byte>& output)
        : output_(output)
    {
    }

    // `type` is a four-character code. A box is smaller than 4 GiB.
    Box box(std::string_view type) { return Box(*this, type); }

    // What a full box begins with (section 4.2.2).
    void versionAndFlags(std::uint8_t version, std::uint32_t flags)
    {
        number32(std::uint32_t{version} << 24U | flags);
    }

    void number8(std::uint8_t value) { output_.push_back(std::byte{value}); }
    void number16(std::uint16_t value) { number(value, 2); }
    void number32(std::uint32_t value) { number(value, 4); }
    void number64(std::uint64_t value) { number(value, 8); }
    void zeros(std::size_t count) { output_.insert(output_.end(), count, std::byte{0}); }
    void text(std::string_view characters) { bytes(std::as_bytes(std::span(characters))); }
    void bytes(std::span<const std::byte> data) { output_.insert(output_.end(), data.begin(), data.end()); }

    std::size_t position() const { return output_.size(); }

    // Writes over 32 bits that were written at `position`.
    void setNumber32(std::size_t position, std::uint32_t value) noexcept;

private:
    void number(std::uint64_t value, int byteCount);

    std::vector<std::byte>& output_;
};

} // namespace glimto
