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
        pacer.didHappen(now);
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

TEST(X11PointerPacerTests, AnEventAfterAPauseIsAskedAboutAtOnce)
{
    X11PointerPacer pacer;
    pacer.didAsk(begin);
    EXPECT_TRUE(pacer.next(begin + millisecond, true).mustAsk);
}

TEST(X11PointerPacerTests, AFastMouseCostsFewerThanTwoHundredQuestionsASecond)
{
    X11PointerPacer pacer;
    EXPECT_LE(questionsOfFastMouse(pacer, 10'000 * millisecond), 2000);
}

TEST(X11PointerPacerTests, AFastMousesEventsGatherUndisturbedForEightMilliseconds)
{
    X11PointerPacer pacer;
    questionsOfFastMouse(pacer, 100 * millisecond);
    const std::int64_t now = begin + 100 * millisecond;
    pacer.didAsk(now);
    const auto step = pacer.next(now, true);
    EXPECT_FALSE(step.mustAsk);
    EXPECT_FALSE(step.wakesOnEvents);
    EXPECT_EQ(step.until, now + 8 * millisecond);
    EXPECT_TRUE(pacer.next(step.until, true).mustAsk);
}

TEST(X11PointerPacerTests, APointerInUseIsLookedAtThirtyTimesASecond)
{
    X11PointerPacer pacer;
    pacer.didHappen(begin);
    pacer.didAsk(begin);
    const auto step = pacer.next(begin + millisecond, false);
    EXPECT_FALSE(step.mustAsk);
    EXPECT_TRUE(step.wakesOnEvents);
    EXPECT_EQ(step.until, begin + 33 * millisecond);
}

TEST(X11PointerPacerTests, APointerAtRestIsLookedAtTenTimesASecond)
{
    X11PointerPacer pacer;
    pacer.didHappen(begin);
    pacer.didAsk(begin + 2000 * millisecond);
    EXPECT_EQ(pacer.next(begin + 2001 * millisecond, false).until, begin + 2100 * millisecond);
}

TEST(X11PointerPacerTests, WhatIsRecordedIsReadOftenAndAskedAboutSeldom)
{
    X11PointerPacer pacer(X11PointerPacer::whenRecorded);
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
