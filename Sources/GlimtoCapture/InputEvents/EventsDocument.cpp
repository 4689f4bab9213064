#include "InputEvents/EventsDocument.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

namespace glimto {

namespace {

constexpr std::size_t pieceSize = 64 * 1024; // bytes

// Collects text and hands it on in pieces.
class PieceWriter {
public:
    explicit PieceWriter(const std::function<void(std::string_view)>& write)
        : write_(write)
    {
        text_.reserve(pieceSize + 1024);
    }

    PieceWriter& operator<<(std::string_view text)
    {
        text_ += text;
        return *this;
    }

    PieceWriter& operator<<(std::int64_t value)
    {
        std::array<char, 24> digits;
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
        text_.append(digits.data(), end);
        return *this;
    }

    // JSON has no infinities: what is no number is 0.
    PieceWriter& operator<<(double value)
    {
        if (!std::isfinite(value))
            value = 0;
        const double size = std::abs(value);
        // Plain decimals where they are short; left to itself, the library writes 100000 as 1e+05.
        const auto format = value == 0 || (size >= 1e-5 && size < 1e15) ? std::chars_format::fixed
                                                                        : std::chars_format::scientific;
        std::array<char, 40> digits;
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, format).ptr;
        const std::string_view number(digits.data(), static_cast<std::size_t>(end - digits.data()));
        text_ += number;
        if (number.find_first_of(".e") == std::string_view::npos)
            text_ += ".0";
        return *this;
    }

    void flushWhenFull()
    {
        if (text_.size() >= pieceSize)
            flush();
    }

    void flush()
    {
        write_(text_);
        text_.clear();
    }

private:
    const std::function<void(std::string_view)>& write_;
    std::string text_;
};

void encodeEvent(const RecordedEvent& event, PieceWriter& out)
{
    out << R"({"t":)" << event.t << R"(,"k":")" << inputEventKindNames.at(static_cast<std::size_t>(event.k))
        << R"(","x":)" << event.x << R"(,"y":)" << event.y;
    if (event.button)
        out << R"(,"button":)" << std::int64_t{*event.button};
    if (event.k == InputEventKind::scroll)
        out << R"(,"dx":)" << event.dx << R"(,"dy":)" << event.dy;
    out << "}";
}

// Without the brace that ends it.
void encodeHeading(const EventsDocument& document, PieceWriter& out)
{
    const EventsClock& clock = document.clock;
    out << R"({"version":)" << std::int64_t{EventsDocument::version};
    out << R"(,"clock":{"firstVideoSamplePtsValue":)" << clock.firstVideoSamplePtsValue
        << R"(,"firstVideoSamplePtsTimescale":)" << std::int64_t{clock.firstVideoSamplePtsTimescale}
        << R"(,"firstVideoSampleHostTimeNs":)" << clock.firstVideoSampleHostTimeNs << "}";
    out << R"(,"display":{"capturePixelWidth":)" << std::int64_t{document.display.capturePixelWidth}
        << R"(,"capturePixelHeight":)" << std::int64_t{document.display.capturePixelHeight}
        << R"(,"pointScale":)" << document.display.pointScale << "}";
}

} // namespace

void encodeEventsDocument(const EventsDocument& document,
    const std::function<void(std::string_view piece)>& write, const std::function<bool()>& writeEarlierEvents)
{
    PieceWriter out(write);
    encodeHeading(document, out);
    out << R"(,"cursorHidden":)" << (document.cursorHidden ? "true" : "false") << R"(,"events":[)";
    out.flush();
    const char* separator = writeEarlierEvents && writeEarlierEvents() ? "," : "";
    for (const RecordedEvent& event : document.events) {
        out << separator;
        encodeEvent(event, out);
        out.flushWhenFull();
        separator = ",";
    }
    out << "]}";
    out.flush();
}

void encodeEventsHeading(
    const EventsDocument& document, const std::function<void(std::string_view piece)>& write)
{
    PieceWriter out(write);
    encodeHeading(document, out);
    out << "}\n";
    out.flush();
}

void encodeEventLines(
    std::span<const RecordedEvent> events, const std::function<void(std::string_view piece)>& write)
{
    PieceWriter out(write);
    for (const RecordedEvent& event : events) {
        encodeEvent(event, out);
        out << "\n";
        out.flushWhenFull();
    }
    out.flush();
}

} // namespace glimto
