#include "Backends/InputDevices/PointerDevices.h"

#include <cerrno>
#include <initializer_list>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/input.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

struct Told {
    std::uint16_t type = 0;
    std::uint16_t code = 0;
    std::int32_t value = 0;
};

constexpr Told report = {EV_SYN, SYN_REPORT, 0};
constexpr Told dropped = {EV_SYN, SYN_DROPPED, 0};

// Pipes by the names of mice; "event9" is a keyboard, and nobody may read "event8".
FileDescriptor openPipe(const std::string& path)
{
    errno = path.ends_with("event8") ? EACCES : ENODEV;
    if (path.ends_with("event8") || path.ends_with("event9"))
        return {};
    return FileDescriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
}

// What is told at that time of a mouse.
class Mouse {
public:
    explicit Mouse(const std::filesystem::path& path)
        : path_(path)
    {
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
    }

    void plugIn() { pipe_ = FileDescriptor(::open(path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC)); }
    void pull() { pipe_.close(); }

    void tell(int milliseconds, std::initializer_list<Told> events)
    {
        for (const Told& told : events) {
            input_event event = {};
            event.input_event_usec = milliseconds * 1000;
            event.type = told.type;
            event.code = told.code;
            event.value = told.value;
            ASSERT_EQ(::write(pipe_.get(), &event, sizeof event), static_cast<ssize_t>(sizeof event));
        }
    }

private:
    std::filesystem::path path_;
    FileDescriptor pipe_;
};

class PointerDevicesTests : public testing::Test {
protected:
    PointerDevices devices() { return PointerDevices(folder.path(), openPipe); }

    TemporaryDirectory folder;
    Mouse mouse{folder.path() / "event1"};
};

TEST_F(PointerDevicesTests, ButtonsAndWheelsAreTold)
{
    mouse.plugIn();
    auto all = devices();
    mouse.tell(1, {{EV_KEY, BTN_LEFT, 1}, report});
    mouse.tell(2, {{EV_KEY, BTN_LEFT, 0}, {EV_KEY, BTN_RIGHT, 1}, report});
    mouse.tell(3, {{EV_KEY, BTN_RIGHT, 0}, {EV_REL, REL_WHEEL, -2}, {EV_REL, REL_HWHEEL, 1}, report});

    const auto events = all.take();

    ASSERT_EQ(events.size(), 5U);
    EXPECT_EQ(events[0].type, InputEventType::leftMouseDown);
    EXPECT_EQ(events[0].time, HostTime(std::chrono::milliseconds(1)));
    EXPECT_EQ(events[1].type, InputEventType::leftMouseUp);
    EXPECT_EQ(events[2].type, InputEventType::rightMouseDown);
    EXPECT_EQ(events[3].type, InputEventType::rightMouseUp);
    EXPECT_EQ(events[4].type, InputEventType::scrollWheel);
    EXPECT_EQ(events[4].scrollDeltaY, -2);
    EXPECT_EQ(events[4].scrollDeltaX, -1);
    EXPECT_EQ(events[4].time, HostTime(std::chrono::milliseconds(3)));
}

TEST_F(PointerDevicesTests, KeysMovesAndOtherButtonsAreNot)
{
    mouse.plugIn();
    auto all = devices();
    mouse.tell(1,
        {{EV_KEY, KEY_A, 1}, {EV_KEY, BTN_MIDDLE, 1}, {EV_REL, REL_X, 5}, {EV_REL, REL_WHEEL_HI_RES, 120},
            {EV_ABS, ABS_X, 1}, {EV_MSC, MSC_SCAN, 1}, report});

    EXPECT_TRUE(all.take().empty());
    EXPECT_FALSE(all.isEmpty());
}

TEST_F(PointerDevicesTests, AButtonThatIsHeldIsPressedOnce)
{
    mouse.plugIn();
    auto all = devices();
    mouse.tell(
        1, {{EV_KEY, BTN_LEFT, 1}, report, {EV_KEY, BTN_LEFT, 2}, report, {EV_KEY, BTN_RIGHT, 0}, report});

    EXPECT_EQ(all.take().size(), 1U);
}

TEST_F(PointerDevicesTests, AfterLostEventsNoButtonHangs)
{
    mouse.plugIn();
    auto all = devices();
    mouse.tell(1, {{EV_KEY, BTN_LEFT, 1}, report});
    mouse.tell(2, {dropped, {EV_KEY, BTN_RIGHT, 1}, {EV_REL, REL_WHEEL, 1}, report});
    mouse.tell(3, {{EV_REL, REL_WHEEL, 1}, report});

    const auto events = all.take();

    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[1].type, InputEventType::leftMouseUp);
    EXPECT_EQ(events[1].time, HostTime(std::chrono::milliseconds(2)));
    EXPECT_EQ(events[2].scrollDeltaY, 1);
}

TEST_F(PointerDevicesTests, DevicesComeAndGo)
{
    auto all = devices();
    mouse.plugIn();
    Mouse second(folder.path() / "event2");
    second.plugIn();
    all.look();
    std::vector<pollfd> entries;
    all.addTo(entries);
    EXPECT_EQ(entries.size(), 2U);

    second.tell(1, {{EV_KEY, BTN_LEFT, 1}, report});
    second.pull();
    EXPECT_EQ(all.take().size(), 1U);
    entries.clear();
    all.addTo(entries);
    EXPECT_EQ(entries.size(), 1U);

    std::filesystem::remove(folder.path() / "event1");
    all.look();
    EXPECT_TRUE(all.isEmpty());
}

TEST_F(PointerDevicesTests, OtherDevicesAndFilesAreLeftAlone)
{
    std::filesystem::remove(folder.path() / "event1");
    Mouse keyboard(folder.path() / "event9");
    Mouse forbidden(folder.path() / "event8");
    Mouse other(folder.path() / "mouse0");
    EXPECT_TRUE(devices().isEmpty());
    EXPECT_TRUE(PointerDevices("/nowhere", openPipe).isEmpty());
}

TEST_F(PointerDevicesTests, FilesThatAreNoDevicesAreNotOpened)
{
    mouse.plugIn();
    EXPECT_TRUE(PointerDevices(folder.path()).isEmpty());
}

} // namespace
} // namespace glimto
