#include "Backends/Tesseract/TesseractTextRecognitionEngine.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/AtomicFile.h"
#include "Unit/Tesseract/DrawnText.h"

namespace glimto {
namespace {

using testing::ElementsAreArray;

constexpr DrawnText::Color black = {0, 0, 0};
constexpr DrawnText::Color white = {1, 1, 1};
constexpr DrawnText::Color light = {0.85, 0.85, 0.85};
constexpr int margin = 12;

using Lines = std::vector<std::string>;

// Runs of spaces as one, as recognized text has them; none at the ends.
Lines oneSpaced(Lines lines)
{
    for (auto& line : lines) {
        const auto end = std::unique(
            line.begin(), line.end(), [](char left, char right) { return left == ' ' && right == ' '; });
        line.erase(end, line.end());
        line.erase(0, line.find_first_not_of(' '));
    }
    return lines;
}

// Text whose words stand below each other.
class AlignedTextTests : public testing::Test {
protected:
    static void drawLines(DrawnText& drawn, int x, int y, const Lines& lines, double size,
        DrawnText::Color color, const std::string& font = "DejaVu Sans Mono")
    {
        const int pitch = static_cast<int>(size * 1.2);
        for (std::size_t line = 0; line < lines.size(); ++line)
            drawn.text(x, y + pitch * static_cast<int>(line), lines[line], size, color, font);
    }

    Lines linesIn(const DrawnText& drawn)
    {
        const auto file = folder.path() / "picture.png";
        writeFileAtomically(file, OnePicturePNGCodec::header(10, 10));
        OnePicturePNGCodec codec(drawn.pixels());
        Lines lines;
        for (const auto& observation : TesseractTextRecognitionEngine(codec).recognizeText(file))
            lines.push_back(observation.topCandidate.value_or("(none)"));
        return lines;
    }

    TemporaryDirectory folder;
};

TEST_F(AlignedTextTests, LogIsReadLineByLine)
{
    Lines log;
    for (int second = 1; second <= 20; ++second) {
        char line[100];
        std::snprintf(line, sizeof line,
            "2026-11-21 09:00:%02d INFO  worker line %05d  started job alpha status ok", second, second);
        log.emplace_back(line);
    }
    DrawnText drawn(800, 400, black);
    drawLines(drawn, margin, margin, log, 13, light);

    // Single letters may be read wrongly, such as an l for an L.
    const Lines lines = linesIn(drawn);
    ASSERT_EQ(lines.size(), log.size());
    for (const auto& line : lines)
        EXPECT_THAT(line, testing::MatchesRegex("2026-11-21 .* INFO .* started job alpha status ok"));
}

TEST_F(AlignedTextTests, ListingIsReadLineByLine)
{
    const Lines listing = {"drwxr-xr-x 4 kim  users   4096 Mar 14 09:26 Archive",
        "-rw-r--r-- 1 kim  users  48213 Mar 14 09:26 atlas.tar",
        "-rwxr-xr-x 1 kim  users  10752 Feb 12 17:40 install.sh",
        "-rw-r----- 1 root audit   1408 Jan 30 08:15 access",
        "-rw-r--r-- 1 root audit 602117 Mar 11 23:59 messages",
        "drwxr-xr-x 2 kim  users   4096 Dec 24  2025 Pictures"};
    DrawnText drawn(500, 140, white);
    drawLines(drawn, margin, margin, listing, 14, black);
    EXPECT_THAT(linesIn(drawn), ElementsAreArray(oneSpaced(listing)));
}

TEST_F(AlignedTextTests, TableWithWideGapsIsReadRowByRow)
{
    const Lines names = {"Name", "Annual report", "Travel expenses", "Contract with the printer",
        "List of all open questions", "Minutes of the meeting"};
    const Lines states = {"Status", "approved", "rejected", "waiting", "in translation", "approved"};
    const Lines days = {"Last change", "14 March", "2 May", "28 February", "19 November", "7 January"};
    DrawnText drawn(640, 160, white);
    drawLines(drawn, margin, margin, names, 14, black, "DejaVu Sans");
    drawLines(drawn, 290, margin, states, 14, black, "DejaVu Sans");
    drawLines(drawn, 480, margin, days, 14, black, "DejaVu Sans");
    Lines rows;
    for (std::size_t row = 0; row < names.size(); ++row)
        rows.push_back(names[row] + " " + states[row] + " " + days[row]);
    EXPECT_THAT(linesIn(drawn), ElementsAreArray(rows));
}

TEST_F(AlignedTextTests, SourceCodeIsReadWithItsCommentsBesideIt)
{
    const Lines source = {"struct Window {", "    int width = 0;              // in pixels",
        "    int height = 0;             // in pixels",
        "    double scale = 1;           // pixels of one point",
        "    bool visible = true;        // false while it is hidden",
        "    std::string title;          // what the bar at its top shows"};
    DrawnText drawn(600, 140, white);
    drawLines(drawn, margin, margin, source, 14, black);
    EXPECT_THAT(linesIn(drawn), ElementsAreArray(oneSpaced(source)));
}

TEST_F(AlignedTextTests, ProseInLinesOfTheSameHeightIsReadColumnByColumn)
{
    const Lines left = {"Version four brings faster search", "and better control of all windows.",
        "Large projects open in half the time", "and the preview no longer turns",
        "black after the computer has slept."};
    const Lines right = {"Printing to a network printer may", "take up to twenty seconds on the",
        "first morning. Keep both windows on", "one display until the next update",
        "arrives at the beginning of June."};
    DrawnText drawn(640, 130, white);
    drawLines(drawn, margin, margin, left, 14, black, "DejaVu Sans");
    drawLines(drawn, 320, margin, right, 14, black, "DejaVu Sans");
    Lines columns = left;
    columns.insert(columns.end(), right.begin(), right.end());
    EXPECT_THAT(linesIn(drawn), ElementsAreArray(columns));
}

TEST_F(AlignedTextTests, IconsBesideAListAreNotReadWithIt)
{
    const Lines names
        = {"Report.odt", "Budget.ods", "Photo of the roof.jpg", "Invoice 20417.pdf", "Notes", "Music"};
    DrawnText drawn(400, 140, white);
    for (int row = 0; row < 6; ++row)
        drawn.rectangle(margin, margin + 3 + 16 * row, 12, 11, {0.3, 0.3, 0.3});
    drawLines(drawn, 36, margin, names, 14, black, "DejaVu Sans");
    EXPECT_THAT(linesIn(drawn), ElementsAreArray(names));
}

} // namespace
} // namespace glimto
