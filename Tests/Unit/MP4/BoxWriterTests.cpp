#include "Backends/MP4/BoxWriter.h"

#include <gtest/gtest.h>

#include "Unit/MP4/BoxBytes.h"

namespace glimto {
namespace {

using namespace std::string_literals;

TEST(BoxWriterTests, NumbersAreBigEndian)
{
    std::vector<std::byte> output;
    BoxWriter writer(output);
    writer.number8(0x01);
    writer.number16(0x0203);
    writer.number32(0x04050607);
    writer.number64(0x08090A0B0C0D0E0F);
    writer.zeros(1);
    EXPECT_EQ(textOf(output), "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F\0"s);
}

TEST(BoxWriterTests, ABoxKnowsItsSizeOnceItEnds)
{
    std::vector<std::byte> output;
    BoxWriter writer(output);
    {
        const auto outer = writer.box("outr");
        {
            const auto inner = writer.box("innr");
            writer.text("content");
        }
        const auto empty = writer.box("none");
    }
    EXPECT_EQ(textOf(output), "\0\0\0\x1Foutr\0\0\0\x0Finnrcontent\0\0\0\x08none"s);
}

TEST(BoxWriterTests, WhatWasThereBeforeStays)
{
    std::vector<std::byte> output = bytesOf("before");
    BoxWriter writer(output);
    {
        const auto box = writer.box("free");
        writer.versionAndFlags(1, 0x020304);
    }
    EXPECT_EQ(textOf(output),
        "before\0\0\0\x0C"
        "free\x01\x02\x03\x04"s);
}

TEST(BoxWriterTests, ANumberCanBeSettledLater)
{
    std::vector<std::byte> output;
    BoxWriter writer(output);
    writer.number64(0);
    writer.setNumber32(2, 0x01020304);
    EXPECT_EQ(textOf(output), "\0\0\x01\x02\x03\x04\0\0"s);
}

} // namespace
} // namespace glimto
