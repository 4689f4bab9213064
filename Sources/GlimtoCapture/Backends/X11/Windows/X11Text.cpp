#include "Backends/X11/Windows/X11Text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>

#include <iconv.h>

#include "Support/Owned.h"
#include "Support/Text.h"

namespace glimto {

namespace {

constexpr const char* replacement = "\xEF\xBF\xBD";
constexpr char escape = '\x1B';
constexpr std::uint8_t directionMark = 0x9B;

std::string_view upToZero(std::string_view bytes)
{
    return bytes.substr(0, bytes.find('\0'));
}

std::uint8_t unsignedByte(char byte)
{
    return static_cast<std::uint8_t>(byte);
}

// A character set that an escape sequence put into the left (bytes below 0x80) or right half.
struct CharacterSet {
    std::string charset; // name for iconv; empty when it cannot be converted
    std::size_t bytesPerCharacter = 1;
    bool usesHighBytes = false; // iconv's set has the characters at 0xA0 to 0xFF
};

// What cannot be converted becomes U+FFFD, each character where the set is not known.
std::string converted(const CharacterSet& set, std::string bytes)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): this is how iconv_open reports failure.
    const auto failure = reinterpret_cast<iconv_t>(-1);
    const iconv_t opened = set.charset.empty() ? failure : ::iconv_open("UTF-8", set.charset.c_str());
    std::string result;
    if (opened == failure) {
        for (std::size_t at = 0; at < bytes.size(); at += set.bytesPerCharacter)
            result += replacement;
        return result;
    }
    const Owned<void, ::iconv_close> converter(opened);
    if (set.usesHighBytes)
        std::ranges::for_each(bytes, [](char& byte) { byte = static_cast<char>(byte | 0x80); });
    char* input = bytes.data();
    std::size_t left = bytes.size();
    while (left > 0) {
        std::array<char, 512> piece{};
        char* output = piece.data();
        std::size_t room = piece.size();
        const std::size_t before = left;
        const bool failed = ::iconv(opened, &input, &left, &output, &room) == static_cast<std::size_t>(-1);
        result.append(piece.data(), piece.size() - room);
        const bool isStuck = failed && left == before && room == piece.size();
        if (isStuck) {
            result += replacement;
            ++input;
            --left;
        }
    }
    return result;
}

CharacterSet setOf94Characters(char final)
{
    if (final == 'B' || final == 'J')
        return {"ASCII", 1, false};
    return final == 'I' ? CharacterSet{"SHIFT_JIS", 1, true} : CharacterSet{};
}

CharacterSet setOf96Characters(char final)
{
    constexpr std::string_view finals = "ABCDLGFHMVTY_bf";
    constexpr std::array<const char*, 15> names
        = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "13", "14", "15", "16"};
    const auto index = finals.find(final);
    if (index == std::string_view::npos)
        return {};
    return {std::string("ISO-8859-") + names.at(index), 1, true};
}

CharacterSet setOfSeveralBytes(char final)
{
    constexpr std::array<const char*, 3> names = {"EUC-CN", "EUC-JP", "EUC-KR"};
    const bool isKnown = final >= 'A' && final <= 'C';
    return {isKnown ? names.at(static_cast<std::size_t>(final - 'A')) : "", 2, true};
}

class CompoundText {
public:
    explicit CompoundText(std::string_view bytes)
        : rest_(bytes)
    {
    }

    std::string decoded()
    {
        while (!rest_.empty()) {
            if (rest_.front() == escape)
                takeEscapeSequence();
            else if (isControl(rest_.front()))
                takeControl();
            else
                takeRun();
        }
        return validUTF8(result_);
    }

private:
    // What stands for itself whatever the sets, the space among it, and the mark of a writing direction.
    static bool isControl(char byte)
    {
        return unsignedByte(byte) <= 0x20 || unsignedByte(byte) == directionMark;
    }

    void takeControl()
    {
        if (unsignedByte(rest_.front()) == directionMark) {
            // The sequence that it begins ends with ']'.
            const auto end = rest_.find(']');
            rest_.remove_prefix(end == std::string_view::npos ? 1 : end + 1);
        } else {
            result_ += rest_.front();
            rest_.remove_prefix(1);
        }
    }

    void takeRun()
    {
        const bool isRight = unsignedByte(rest_.front()) >= 0x80;
        const auto end = std::find_if(rest_.begin(), rest_.end(),
            [&](char byte) { return isControl(byte) || (unsignedByte(byte) >= 0x80) != isRight; });
        const auto length = static_cast<std::size_t>(end - rest_.begin());
        result_ += converted(isRight ? right_ : left_, std::string(rest_.substr(0, length)));
        rest_.remove_prefix(length);
    }

    void takeEscapeSequence()
    {
        std::size_t end = 1;
        while (end < rest_.size() && rest_[end] >= 0x20 && rest_[end] <= 0x2F)
            ++end;
        if (end >= rest_.size()) {
            rest_ = {};
            return;
        }
        const auto intermediate = rest_.substr(1, end - 1);
        const char final = rest_[end];
        rest_.remove_prefix(end + 1);
        if (intermediate == "(")
            left_ = setOf94Characters(final);
        else if (intermediate == ")")
            right_ = setOf94Characters(final);
        else if (intermediate == "-")
            right_ = setOf96Characters(final);
        else if (intermediate == "$(" || intermediate == "$")
            left_ = setOfSeveralBytes(final);
        else if (intermediate == "$)")
            right_ = setOfSeveralBytes(final);
        else if (intermediate == "%" && final == 'G')
            takeUTF8();
        else if (intermediate == "%/")
            takeExtendedSegment(final);
    }

    void takeUTF8()
    {
        constexpr std::string_view end = "\x1B%@";
        const auto length = std::min(rest_.find(end), rest_.size());
        result_ += rest_.substr(0, length);
        rest_.remove_prefix(std::min(length + end.size(), rest_.size()));
    }

    // Two bytes of length, the name of an encoding, STX, text in that encoding.
    void takeExtendedSegment(char final)
    {
        if (rest_.size() < 2)
            return;
        const std::size_t length = (unsignedByte(rest_[0]) & 0x7FU) * 128U + (unsignedByte(rest_[1]) & 0x7FU);
        rest_.remove_prefix(2);
        const auto segment = rest_.substr(0, length);
        rest_.remove_prefix(segment.size());
        const auto nameEnd = segment.find('\x02');
        if (nameEnd == std::string_view::npos)
            return;
        auto name = segment.substr(0, nameEnd);
        if (name.ends_with("-0"))
            name.remove_suffix(2);
        const bool isPlain = std::all_of(name.begin(), name.end(),
            [](char byte) { return std::isalnum(unsignedByte(byte)) != 0 || byte == '-' || byte == '_'; });
        const std::size_t bytesPerCharacter
            = final >= '1' && final <= '4' ? static_cast<std::size_t>(final - '0') : 1;
        const CharacterSet set{isPlain ? std::string(name) : std::string(), bytesPerCharacter, false};
        result_ += converted(set, std::string(segment.substr(nameEnd + 1)));
    }

    std::string_view rest_;
    std::string result_;
    CharacterSet left_{"ASCII", 1, false};
    CharacterSet right_{"ISO-8859-1", 1, true};
};

} // namespace

std::string utf8FromLatin1(std::string_view bytes)
{
    std::string result;
    for (const char byte : upToZero(bytes)) {
        const auto value = unsignedByte(byte);
        if (value < 0x80) {
            result += byte;
        } else {
            result += static_cast<char>(0xC0U | (value >> 6U));
            result += static_cast<char>(0x80U | (value & 0x3FU));
        }
    }
    return result;
}

std::string utf8FromUTF8String(std::string_view bytes, TextEnd end)
{
    auto text = upToZero(bytes);
    if (end == TextEnd::cut && text.size() == bytes.size()) {
        std::size_t begin = text.size();
        while (begin > 0 && text.size() - begin < 4 && (unsignedByte(text[begin - 1]) & 0xC0U) == 0x80U)
            --begin;
        if (begin > 0 && unsignedByte(text[begin - 1]) >= 0xC0U) {
            const auto lead = unsignedByte(text[begin - 1]);
            const std::size_t length = lead >= 0xF0U ? 4 : lead >= 0xE0U ? 3 : 2;
            if (text.size() - (begin - 1) < length)
                text.remove_suffix(text.size() - (begin - 1));
        }
    }
    return validUTF8(text);
}

std::string utf8FromCompoundText(std::string_view bytes)
{
    return CompoundText(upToZero(bytes)).decoded();
}

} // namespace glimto
