// Replies that say of themselves more than has come.

#include <cstdlib>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "Backends/X11/Connection/X11ClientProcesses.h"
#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Pictures/X11CursorImage.h"
#include "Backends/X11/Pointer/X11EventRecord.h"
#include "Backends/X11/Pointer/X11PointerDevices.h"

namespace glimto {
namespace {

// A reply followed by `words`, which are counted from 32 bytes on.
template <typename Reply> XCBHandle<Reply> replyWith(const std::vector<std::uint32_t>& words)
{
    auto* memory = static_cast<std::uint8_t*>(std::calloc(1, sizeof(Reply) + 4 * words.size()));
    if (!words.empty())
        std::memcpy(memory + sizeof(Reply), words.data(), 4 * words.size());
    auto* reply = reinterpret_cast<Reply*>(memory);
    reply->length = static_cast<std::uint32_t>(words.size());
    return XCBHandle<Reply>(reply);
}

X11Property property(std::uint8_t format, std::uint32_t items, const std::vector<std::uint32_t>& words)
{
    auto reply = replyWith<xcb_get_property_reply_t>(words);
    reply->format = format;
    reply->value_len = items;
    return X11Property(std::move(reply));
}

TEST(X11RepliesTests, APropertyHasNoMoreThanHasCome)
{
    EXPECT_EQ(property(32, 2, {1, 2}).numbers().size(), 2U);
    EXPECT_EQ(property(32, 1000, {1, 2}).numbers().size(), 2U);
    EXPECT_EQ(property(8, 5, {0, 0}).bytes().size(), 5U);
    EXPECT_EQ(property(8, 0xFFFFFFFF, {0, 0}).bytes().size(), 8U);
    EXPECT_EQ(property(8, 3, {}).bytes(), "");
}

TEST(X11RepliesTests, ACursorImageThatIsCutIsNone)
{
    auto reply = replyWith<xcb_xfixes_get_cursor_image_reply_t>({1, 2, 3, 4});
    reply->width = 2;
    reply->height = 2;
    EXPECT_EQ(x11CursorImage(*reply).pixels, (std::vector<std::uint32_t>{1, 2, 3, 4}));
    reply->height = 3;
    EXPECT_TRUE(x11CursorImage(*reply).size.isEmpty());
}

TEST(X11RepliesTests, ARawEventHasNoMoreAxesThanHaveCome)
{
    // Axes 0 and 33, of which only the first has a value.
    auto event = replyWith<xcb_input_raw_button_press_event_t>({1, 2, 5, 0x80000000});
    event->valuators_len = 2;
    const auto values = x11AxisValues(*event);
    ASSERT_EQ(values.size(), 1U);
    EXPECT_EQ(values[0].axis, 0);
    EXPECT_EQ(values[0].value, 5.5);
    event->valuators_len = 1000;
    EXPECT_TRUE(x11AxisValues(*event).empty());
}

TEST(X11RepliesTests, AnAnswerAboutAPointerTellsItsPixel)
{
    xcb_input_xi_query_pointer_reply_t reply{};
    reply.root_x = (20 << 16) | 0x8000;
    reply.root_y = 30 << 16;
    EXPECT_EQ(x11PointerPlace(reply), (Point{20, 30}));
}

TEST(X11RepliesTests, APartOfARecordEndsWithItsLastWholeEvent)
{
    xcb_button_press_event_t press{};
    press.response_type = XCB_BUTTON_PRESS;
    press.detail = 1;
    std::vector<std::uint32_t> words(12);
    std::memcpy(words.data(), &press, sizeof press);
    EXPECT_EQ(x11RecordedEvents(*replyWith<xcb_record_enable_context_reply_t>(words), 1).size(), 1U);
}

TEST(X11RepliesTests, ATreeHasNoMoreChildrenThanHaveCome)
{
    auto reply = replyWith<xcb_query_tree_reply_t>({5, 6});
    reply->children_len = 60000;
    EXPECT_EQ(x11WindowChildren(*reply).size(), 2U);
}

TEST(X11RepliesTests, AListOfProcessesEndsWhereTheReplyDoes)
{
    const std::uint32_t isProcess = XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID;
    const auto processes = x11ProcessesOfClients(*replyWith<xcb_res_query_client_ids_reply_t>(
        {0x200000, isProcess, 4, 77, 0x400000, isProcess, 0xFFFFFFFC, 78, 0x600000, isProcess, 4}));
    EXPECT_EQ(processes, (std::unordered_map<std::uint32_t, std::int32_t>{{0x200000, 77}, {0x400000, 78}}));
}

} // namespace
} // namespace glimto
