#include "Backends/Images/DeflateEnd.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace glimto {

namespace {

constexpr std::size_t literalCodes = 288;
constexpr std::size_t offsetCodes = 32;
constexpr unsigned endOfBlock = 256;
constexpr unsigned longestCode = 15; // bits

enum class BlockType { stored = 0, fixed = 1, dynamic = 2 };

struct NoStream { };

class BitReader {
public:
    BitReader(const std::uint8_t* bytes, std::size_t size)
        : bytes_(bytes)
        , end_(8 * size)
    {
    }

    std::size_t position() const { return at_; } // in bits

    // The next 56 bits or more, the first one lowest.
    std::uint64_t ahead() const
    {
        const std::uint8_t* const next = bytes_ + at_ / 8;
        std::uint64_t value = 0;
        for (unsigned index = 0; index < 8; ++index)
            value |= static_cast<std::uint64_t>(next[index]) << 8 * index;
        return value >> at_ % 8;
    }

    // Throws NoStream at the end.
    void skip(std::size_t count)
    {
        if (count > end_ - at_)
            throw NoStream();
        at_ += count;
    }

    unsigned take(unsigned count)
    {
        const auto value = static_cast<unsigned>(ahead() & ((1U << count) - 1));
        skip(count);
        return value;
    }

private:
    const std::uint8_t* bytes_;
    std::size_t end_; // in bits
    std::size_t at_ = 0;
};

// A Huffman code, by the bits that lie ahead.
class CodeTable {
public:
    struct Entry {
        std::uint16_t symbol = 0;
        std::uint8_t length = 0; // bits; 0 for what is no code
    };

    // `lengths` in bits by symbol, 0 for those that do not occur (RFC 1951, 3.2.2).
    explicit CodeTable(std::span<const std::uint8_t> lengths)
        : bits_(std::max<unsigned>(1, std::ranges::max(lengths)))
        , entries_(std::size_t(1) << bits_)
    {
        fill(lengths);
    }

    Entry at(std::uint64_t ahead) const { return entries_[ahead & (entries_.size() - 1)]; }

private:
    void fill(std::span<const std::uint8_t> lengths)
    {
        unsigned code = 0;
        for (unsigned length = 1; length <= bits_; ++length, code *= 2) {
            for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
                if (lengths[symbol] != length)
                    continue;
                if (code >> length != 0)
                    throw NoStream();
                for (std::size_t at = reversed(code, length); at < entries_.size();
                     at += std::size_t(1) << length)
                    entries_[at] = {static_cast<std::uint16_t>(symbol), static_cast<std::uint8_t>(length)};
                ++code;
            }
        }
    }

    static std::size_t reversed(unsigned code, unsigned length)
    {
        std::size_t result = 0;
        for (unsigned bit = 0; bit < length; ++bit)
            result |= static_cast<std::size_t>(code >> bit & 1U) << (length - 1 - bit);
        return result;
    }

    unsigned bits_;
    std::vector<Entry> entries_;
};

struct BlockCodes {
    CodeTable literals; // and lengths
    CodeTable offsets;
};

BlockCodes fixedCodes()
{
    std::array<std::uint8_t, literalCodes> literals{};
    std::fill(literals.begin(), literals.begin() + 144, std::uint8_t(8));
    std::fill(literals.begin() + 144, literals.begin() + 256, std::uint8_t(9));
    std::fill(literals.begin() + 256, literals.begin() + 280, std::uint8_t(7));
    std::fill(literals.begin() + 280, literals.end(), std::uint8_t(8));
    std::array<std::uint8_t, offsetCodes> offsets{};
    offsets.fill(5);
    return {CodeTable(literals), CodeTable(offsets)};
}

unsigned takeSymbol(BitReader& reader, const CodeTable& table)
{
    const auto [symbol, length] = table.at(reader.ahead());
    if (length == 0)
        throw NoStream();
    reader.skip(length);
    return symbol;
}

BlockCodes takeCodes(BitReader& reader)
{
    constexpr std::array<std::uint8_t, 19> order
        = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    const std::size_t literalCount = reader.take(5) + 257;
    const std::size_t offsetCount = reader.take(5) + 1;
    const std::size_t lengthCount = reader.take(4) + 4;
    std::array<std::uint8_t, order.size()> lengthLengths{};
    for (std::size_t index = 0; index < lengthCount; ++index)
        lengthLengths[order[index]] = static_cast<std::uint8_t>(reader.take(3));
    const CodeTable lengthTable(lengthLengths);

    std::vector<std::uint8_t> lengths;
    const std::size_t count = literalCount + offsetCount;
    while (lengths.size() < count) {
        const unsigned symbol = takeSymbol(reader, lengthTable);
        if (symbol < 16)
            lengths.push_back(static_cast<std::uint8_t>(symbol));
        else if (symbol == 16)
            lengths.insert(
                lengths.end(), reader.take(2) + 3, lengths.empty() ? std::uint8_t(0) : lengths.back());
        else
            lengths.insert(lengths.end(), symbol == 17 ? reader.take(3) + 3 : reader.take(7) + 11, 0);
    }
    if (lengths.size() > count)
        throw NoStream();
    const std::span all(lengths);
    return {CodeTable(all.first(literalCount)), CodeTable(all.subspan(literalCount))};
}

void skipStored(BitReader& reader)
{
    reader.skip((8 - reader.position() % 8) % 8);
    const std::size_t length = reader.take(16);
    reader.skip(16 + 8 * length);
}

// Passes literals up to the first other symbol, which is returned.
unsigned takeAfterLiterals(BitReader& reader, const CodeTable& literals)
{
    constexpr unsigned bitsAhead = 56;
    while (true) {
        // Several at once: most of what a stream holds are literals.
        const std::uint64_t ahead = reader.ahead();
        unsigned passed = 0;
        CodeTable::Entry entry;
        do {
            entry = literals.at(ahead >> passed);
            passed += entry.length;
        } while (entry.symbol < endOfBlock && entry.length > 0 && passed <= bitsAhead - longestCode);
        if (entry.length == 0)
            throw NoStream();
        reader.skip(passed);
        if (entry.symbol >= endOfBlock)
            return entry.symbol;
    }
}

void skipCoded(BitReader& reader, const BlockCodes& codes)
{
    while (true) {
        const unsigned symbol = takeAfterLiterals(reader, codes.literals);
        if (symbol == endOfBlock)
            return;
        constexpr unsigned longestMatch = 285;
        if (symbol >= 265 && symbol < longestMatch)
            reader.skip((symbol - 261) / 4);
        const unsigned offset = takeSymbol(reader, codes.offsets);
        if (offset >= 4)
            reader.skip(offset / 2 - 1);
    }
}

struct StreamEnd {
    std::size_t lastBlock = 0; // where it begins, in bits
    std::size_t end = 0; // in bits
};

// Throws NoStream.
StreamEnd endOfStream(const std::uint8_t* bytes, std::size_t size)
{
    BitReader reader(bytes, size);
    while (true) {
        const std::size_t block = reader.position();
        const bool isLast = reader.take(1) == 1;
        switch (static_cast<BlockType>(reader.take(2))) {
        case BlockType::stored:
            skipStored(reader);
            break;
        case BlockType::fixed:
            skipCoded(reader, fixedCodes());
            break;
        case BlockType::dynamic:
            skipCoded(reader, takeCodes(reader));
            break;
        default:
            throw NoStream();
        }
        if (isLast)
            return {block, reader.position()};
    }
}

} // namespace

std::size_t reopenedDeflateStream(std::uint8_t* bytes, std::size_t size)
try {
    std::memset(bytes + size, 0, deflateTail);
    const auto [lastBlock, end] = endOfStream(bytes, size);
    if ((end + 7) / 8 != size)
        return 0;
    bytes[lastBlock / 8] &= static_cast<std::uint8_t>(~(1U << lastBlock % 8));
    // The stream is filled with zeros up to a whole byte, and three of them begin a stored block.
    const std::size_t at = (end + 3 + 7) / 8;
    constexpr std::array<std::uint8_t, 4> nothingStored = {0, 0, 0xff, 0xff}; // its length twice
    std::memcpy(bytes + at, nothingStored.data(), nothingStored.size());
    return at + nothingStored.size();
} catch (const NoStream&) {
    return 0;
}

} // namespace glimto
