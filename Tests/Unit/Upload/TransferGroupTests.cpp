#include "Upload/TransferGroup.h"

#include <cstddef>
#include <string>
#include <vector>

#include "UploadTestSupport.h"
#include "Upload/TaskCancellationError.h"

namespace glimto {
namespace {

class TransferGroupTests : public testing::Test {
protected:
    TransferGroupTests()
    {
        transport.answer = [](const HTTPRequest&, const std::string& body) {
            if (body == "broken")
                throw PlatformError("HTTP", 7, "broken");
            return HTTPResponse{body == "refused" ? 403 : 200, body};
        };
        transport.holdPuts();
    }

    void add(const std::string& body, std::size_t bytes = 1)
    {
        HTTPRequest request;
        request.method = "PUT";
        request.body = body;
        group.add(added++, std::move(request), bytes);
    }

    FakeHTTPTransport transport;
    UploadCancellation cancellation;
    TransferGroup group{transport, cancellation, 2};
    std::size_t added = 0;
};

TEST_F(TransferGroupTests, WhatWaitsFollowsWithoutBeingAskedFor)
{
    for (const char* body : {"a", "b", "c", "d"})
        add(body);
    EXPECT_EQ(transport.requests().size(), 2U);
    transport.releaseOne();
    transport.releaseOne();
    EXPECT_EQ(transport.requests().size(), 4U);
    EXPECT_EQ(transport.mostHeld(), 2U);
    EXPECT_EQ(group.next().response.body, "a");
    EXPECT_EQ(group.next().index, 1U);
    EXPECT_EQ(group.count(), 2U);
    transport.releaseOne();
    transport.releaseOne();
    EXPECT_EQ(group.next().response.body, "c");
    EXPECT_EQ(group.next().response.body, "d");
    EXPECT_EQ(group.count(), 0U);
}

TEST_F(TransferGroupTests, NothingFollowsOnceItMayNot)
{
    bool mayFollow = true;
    TransferGroup strict(transport, cancellation, 2, [&] { return mayFollow; });
    for (std::size_t index = 0; index < 6; ++index) {
        HTTPRequest request;
        request.method = "PUT";
        request.body = "a";
        strict.add(index, std::move(request), 1);
    }
    transport.releaseOne();
    EXPECT_EQ(transport.requests().size(), 3U);
    mayFollow = false;
    transport.releaseOne();
    mayFollow = true;
    transport.releaseOne();
    EXPECT_EQ(transport.requests().size(), 3U);
    for (const std::size_t index : {0, 1, 2})
        EXPECT_EQ(strict.next().index, index);
    EXPECT_THROW(strict.next(), TaskCancellationError);
    strict.cancelAll();
    EXPECT_EQ(strict.count(), 0U);
}

TEST_F(TransferGroupTests, NothingFollowsAFailureByItself)
{
    for (const char* body : {"refused", "broken", "c", "d"})
        add(body);
    transport.releaseOne();
    transport.releaseOne();
    EXPECT_EQ(transport.requests().size(), 2U);
    EXPECT_EQ(group.next().response.status, 403);
    EXPECT_TRUE(group.next().error);
    group.cancelAll();
    EXPECT_EQ(group.count(), 0U);
    EXPECT_EQ(transport.requests().size(), 2U);
}

TEST_F(TransferGroupTests, ManySmallRequestsOrOneLargeOneMayWait)
{
    constexpr std::size_t large = 1 << 20;
    add("a", large);
    EXPECT_TRUE(group.hasRoom());
    add("b", large);
    EXPECT_TRUE(group.hasRoom());
    add("c", large);
    EXPECT_FALSE(group.hasRoom());
    transport.releaseOne();
    EXPECT_TRUE(group.hasRoom());
    std::size_t small = 0;
    while (group.hasRoom() && small < 1000) {
        add("x");
        ++small;
    }
    EXPECT_GT(small, 10U);
    EXPECT_LT(small, 100U);
}

TEST_F(TransferGroupTests, WhatIsCancelledIsToldAndWhatWaitedForgotten)
{
    for (const char* body : {"a", "b", "c", "d"})
        add(body);
    transport.releaseOne();
    group.cancelAll();
    EXPECT_EQ(group.count(), 3U);
    EXPECT_EQ(group.next().response.body, "a");
    EXPECT_TRUE(group.next().error);
    EXPECT_TRUE(group.next().error);
    EXPECT_EQ(group.count(), 0U);
    EXPECT_EQ(transport.requests().size(), 3U);
    EXPECT_TRUE(transport.waitUntilHeld(0));
}

TEST_F(TransferGroupTests, ACancelledUploadEndsTheWait)
{
    add("a");
    cancellation.cancel();
    EXPECT_THROW(group.next(), TaskCancellationError);
}

} // namespace
} // namespace glimto
