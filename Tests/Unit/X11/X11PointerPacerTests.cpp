#include "Backends/X11/Pointer/X11PointerPacer.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t begin = 1'000'000 * millisecond;

// How often the server is asked within `duration` when an event comes every millisecond.
int questionsOfFastMouse(X11PointerPacer& pacer, std::int64_t duration)
{
    int questions = 0;
    for (std::int64_t now = begin; now < begin + duration; now += millisecond) {
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
    const auto step = pacer.next(begin + millisecond, false);
    EXPECT_FALSE(step.mustAsk);
    EXPECT_TRUE(step.wakesOnEvents);
    EXPECT_EQ(step.until, begin + 250 * millisecond);
    EXPECT_TRUE(pacer.next(step.until, false).mustAsk);
}

TEST(X11PointerPacerTests, WhatIsRecordedIsReadOftenAndAskedAboutSeldom)
{
    X11PointerPacer pacer;
    pacer.didAsk(begin);
    const auto step = pacer.next(begin + millisecond, true);
    EXPECT_FALSE(step.mustAsk);
    EXPECT_FALSE(step.wakesOnEvents);
    EXPECT_EQ(step.until, begin + 5 * millisecond);
    EXPECT_TRUE(pacer.next(begin + 40 * millisecond, true).mustAsk);
    EXPECT_LE(questionsOfFastMouse(pacer, 10'000 * millisecond), 251);
}

} // namespace
} // namespace glimto
