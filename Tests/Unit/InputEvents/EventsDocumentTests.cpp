#include "InputEvents/EventsDocument.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace glimto {
namespace {

std::string encoded(const EventsDocument& document)
{
    std::string text;
    encodeEventsDocument(document, [&](std::string_view piece) { text += piece; });
    return text;
}

// The text of `t` of a document's only event.
std::string encodedNumber(double value)
{
    EventsDocument document;
    document.events.push_back({.t = value});
    const std::string text = encoded(document);
    const auto start = text.find(R"({"t":)") + 5;
    return text.substr(start, text.find(',', start) - start);
}

TEST(EventsDocumentTests, IsCompactAndKeepsTheOrderOfItsKeys)
{
    EventsDocument document;
    document.clock = {90000, 1'000'000'000, 123'456'789'000};
    document.display = {.capturePixelWidth = 1920, .capturePixelHeight = 1080, .pointScale = 2};
    document.cursorHidden = true;
    document.events.push_back({.t = 500, .x = 0.25, .y = 0.5, .k = InputEventKind::down, .button = 0});
    document.events.push_back({.t = 501.5, .x = 0, .y = 1, .k = InputEventKind::up, .button = 1});
    document.events.push_back({.t = 502, .x = 0.1, .y = 0.2, .k = InputEventKind::move});
    document.events.push_back(
        {.t = 503, .x = 0.1, .y = 0.2, .dx = -1, .dy = 2.5, .k = InputEventKind::scroll});

    EXPECT_EQ(encoded(document),
        R"({"version":1,"clock":{"firstVideoSamplePtsValue":90000,"firstVideoSamplePtsTimescale":1000000000,)"
        R"("firstVideoSampleHostTimeNs":123456789000},)"
        R"("display":{"capturePixelWidth":1920,"capturePixelHeight":1080,"pointScale":2.0},)"
        R"("cursorHidden":true,"events":[)"
        R"({"t":500.0,"k":"down","x":0.25,"y":0.5,"button":0},)"
        R"({"t":501.5,"k":"up","x":0.0,"y":1.0,"button":1},)"
        R"({"t":502.0,"k":"move","x":0.1,"y":0.2},)"
        R"({"t":503.0,"k":"scroll","x":0.1,"y":0.2,"dx":-1.0,"dy":2.5}]})");
}

TEST(EventsDocumentTests, WithoutEventsHasAnEmptyList)
{
    EXPECT_EQ(encoded({}),
        R"({"version":1,"clock":{"firstVideoSamplePtsValue":0,"firstVideoSamplePtsTimescale":0,)"
        R"("firstVideoSampleHostTimeNs":0},)"
        R"("display":{"capturePixelWidth":0,"capturePixelHeight":0,"pointScale":1.0},)"
        R"("cursorHidden":false,"events":[]})");
}

TEST(EventsDocumentTests, HoldsTheLargestTimes)
{
    EventsDocument document;
    document.clock = {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int32_t>::max(),
        std::numeric_limits<std::int64_t>::min()};

    const auto clock = nlohmann::json::parse(encoded(document))["clock"];
    EXPECT_EQ(clock["firstVideoSamplePtsValue"], std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(clock["firstVideoSamplePtsTimescale"], std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(clock["firstVideoSampleHostTimeNs"], std::numeric_limits<std::int64_t>::min());
}

TEST(EventsDocumentTests, NumbersAreTheShortestThatReadBackTheSame)
{
    EXPECT_EQ(encodedNumber(0), "0.0");
    EXPECT_EQ(encodedNumber(0.1), "0.1");
    EXPECT_EQ(encodedNumber(1.0 / 3), "0.3333333333333333");
    EXPECT_EQ(encodedNumber(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(encodedNumber(100000), "100000.0");
    EXPECT_EQ(encodedNumber(86400000.123456), "86400000.123456");
    EXPECT_EQ(encodedNumber(1e300), "1e+300");
    EXPECT_EQ(encodedNumber(5e-324), "5e-324");
}

TEST(EventsDocumentTests, EveryNumberIsJSONAndReadsBackTheSame)
{
    for (const double value : {0.0, 1e-5, 9.99e-6, 1.5e-7, 123456789012345.0, 1e15, 1.7976931348623157e308,
             2.2250738585072014e-308, 4503599627370497.5, -0.25}) {
        EXPECT_EQ(nlohmann::json::parse(encodedNumber(value)).get<double>(), value) << encodedNumber(value);
    }
}

TEST(EventsDocumentTests, WhatIsNoNumberIsWrittenAsZero)
{
    EXPECT_EQ(encodedNumber(std::nan("")), "0.0");
    EXPECT_EQ(encodedNumber(std::numeric_limits<double>::infinity()), "0.0");
}

TEST(EventsDocumentTests, ALongListComesInPieces)
{
    EventsDocument document;
    document.events.resize(10'000);
    std::vector<std::size_t> sizes;
    std::string text;
    encodeEventsDocument(document, [&](std::string_view piece) {
        sizes.push_back(piece.size());
        text += piece;
    });

    EXPECT_GT(sizes.size(), 3U);
    for (const std::size_t size : sizes)
        EXPECT_LT(size, 66U * 1024);
    EXPECT_EQ(nlohmann::json::parse(text)["events"].size(), 10'000U);
}

TEST(EventsDocumentTests, AnErrorOfTheReceiverPassesOn)
{
    EXPECT_THROW(encodeEventsDocument({}, [](std::string_view) { throw std::runtime_error("full"); }),
        std::runtime_error);
}

} // namespace
} // namespace glimto
