#include "Backends/X11/Pointer/X11PointerPacer.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;

constexpr HostTime begin(1000s);

// How often the server is asked within `duration` when an event comes every millisecond.
int questionsOfFastMouse(X11PointerPacer& pacer, std::chrono::milliseconds duration)
{
    int questions = 0;
    for (HostTime now = begin; now < begin + duration; now += 1ms) {
        if (pacer.next(now, true).mustAsk) {
            pacer.didAsk(now);
            ++questions;
        }
    }
    return questions;
}

TEST(X11PointerPacerTests, TheFirstQuestionIsAskedAtOnce)
{
    EXPECT_TRUE(X11PointerPacer().next(begin, false).mustAsk);
}

TEST(X11PointerPacerTests, APointerAtRestIsLookedAtFourTimesASecond)
{
    X11PointerPacer pacer;
    pacer.didAsk(begin);
    const auto step = pacer.next(begin + 1ms, false);
    EXPECT_FALSE(step.mustAsk);
    EXPECT_TRUE(step.wakesOnEvents);
    EXPECT_EQ(step.until, begin + 250ms);
    EXPECT_TRUE(pacer.next(step.until, false).mustAsk);
}

TEST(X11PointerPacerTests, WhatIsRecordedIsReadOftenAndAskedAboutSeldom)
{
    X11PointerPacer pacer;
    pacer.didAsk(begin);
    const auto step = pacer.next(begin + 1ms, true);
    EXPECT_FALSE(step.mustAsk);
    EXPECT_FALSE(step.wakesOnEvents);
    EXPECT_EQ(step.until, begin + 5ms);
    EXPECT_TRUE(pacer.next(begin + 40ms, true).mustAsk);
    EXPECT_LE(questionsOfFastMouse(pacer, 10s), 251);
}

} // namespace
} // namespace glimto
