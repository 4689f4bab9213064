"""Input events to the pixel: pointers that programs move, two pointers, wheels, touches."""

import random
import unittest

from support.input_events import InputEventCase
from support.pointers import Device, TestPointer


class InputEventPlacesTests(InputEventCase):
    def setUp(self):
        super().setUp()
        self.pointer = self.started(TestPointer(self.server))

    def test_clicks_keep_their_places_when_the_pointer_is_set_down_elsewhere_at_once(self):
        chance = random.Random(4)
        recording = self.start_events()
        truth = []
        for _ in range(400):
            ax, ay, bx, by = (chance.randrange(limit) for limit in (self.WIDTH, self.HEIGHT) * 2)
            how = chance.choice(["to", "warp"])
            truth.append((ax, ay, bx, by, self.do(
                self.pointer, f"{how} {ax} {ay} press 1 warp {bx} {by} release 1 {how} {chance.randrange(99)} 9")))
            self.pointer.do("wait 1")
        self.finish(recording)
        downs, ups = self.of_kind("down"), self.of_kind("up")
        self.assertEqual((len(downs), len(ups)), (400, 400))
        for down, up, (ax, ay, bx, by, moment) in zip(downs, ups, truth):
            self.assert_place(down, ax, ay)
            self.assert_place(up, bx, by)
            self.assert_within(down, moment)
            self.assert_within(up, moment)

    def test_steps_and_places_of_test_clients_may_be_mixed(self):
        chance = random.Random(5)
        self.pointer.do("to 160 120")
        recording = self.start_events()
        truth, at = [], (160, 120)
        for _ in range(300):
            x, y = (chance.randrange(10, 200) for _ in range(2))
            dx, dy = (chance.randrange(1, 9) for _ in range(2))
            self.pointer.do(f"to {x} {y} by {dx} {dy} press 3 release 3 by {-dx} {dy} to {y + 1} {x + 1} wait 1")
            truth += [(x, y), (x + dx, y + dy), (x, y + 2 * dy), (y + 1, x + 1)]
        self.finish(recording)
        # A pointer that is where it was has not moved.
        truth = [place for before, place in zip([at, *truth], truth) if before != place]
        moves = self.of_kind("move")
        self.assertEqual(len(moves), len(truth))
        for move, place in zip(moves, truth):
            self.assert_place(move, *place)

    def test_events_are_in_order_of_time(self):
        recording = self.start_events()
        for _ in range(100):
            self.pointer.do("to 10 10 press 4 release 4 warp 20 20 press 1 by 3 3 release 1 press 7 release 7 wait 1")
        self.finish(recording)
        times = [event["t"] for event in self.document["events"]]
        self.assertEqual(times, sorted(times))
        self.assertEqual(self.kinds()[-7:], ["move", "scroll", "move", "down", "move", "up", "scroll"])
        scrolls = self.of_kind("scroll")
        self.assertEqual(len(scrolls), 200)
        for vertical, horizontal in zip(scrolls[::2], scrolls[1::2]):
            self.assertEqual((vertical["dy"], horizontal["dx"]), (1.0, -1.0))
            self.assert_place(vertical, 10, 10)
            self.assert_place(horizontal, 23, 23)

    def test_a_left_handed_click_is_what_the_user_means(self):
        device = next(line.split("id=")[1].split()[0] for line in self.server.run("xinput", "list").splitlines()
                      if "XTEST pointer" in line)
        self.server.run("xinput", "set-button-map", device, 3, 2, 1, 5, 4)
        recording = self.start_events()
        self.pointer.do("press 1 release 1")
        self.pointer.do("press 4 release 4")
        self.finish(recording)
        self.assertEqual([event["button"] for event in self.of_kind("down")], [1])
        self.assertEqual([event["dy"] for event in self.of_kind("scroll")], [-1.0])

    def test_two_pointers_have_places_of_their_own(self):
        self.server.run("xinput", "create-master", "second")
        names = self.server.run("xinput", "list", "--name-only").splitlines()
        self.assertIn("second pointer", [name.strip("⎡⎜⎣↳ ∼\t") for name in names])
        recording = self.start_events()
        for x in range(100, 110):
            self.pointer.do(f"to {x} 50 press 1")
            self.server.run("xinput", "list", "--short")
            self.pointer.do("release 1")
        self.finish(recording)
        downs = self.of_kind("down")
        self.assertEqual(len(downs), 10)
        for x, down in zip(range(100, 110), downs):
            self.assert_place(down, x, 50)


class InputDeviceTests(InputEventCase):
    """Devices that only a server with drivers has."""

    WIDTH, HEIGHT = 800, 600

    def start(self):
        self.start_dummy_screen()
        self.size = tuple(map(int, self.server.run("xdotool", "getdisplaygeometry").split()))
        self.WIDTH, self.HEIGHT = self.size
        self.mouse = self.started(Device(self.server.devices["mouse"]))

    def touched(self, x, y):
        """A place on the touch screen as the driver counts."""
        return (x + 0.5) * Device.TOUCH_RANGE / self.WIDTH, (y + 0.5) * Device.TOUCH_RANGE / self.HEIGHT

    def test_a_smooth_wheel_scrolls_once_by_what_it_was_turned(self):
        self.server.place_pointer(120, 70)
        recording = self.start_events()
        turns = [30.0, 60.0, 120.0, 240.0, -15.0, 600.0]
        for turn in turns:
            self.mouse.scroll(Device.VERTICAL_SCROLL, turn)
            self.mouse.scroll(Device.HORIZONTAL_SCROLL, turn)
        self.finish(recording)
        scrolls = self.of_kind("scroll")
        self.assertEqual([event["dy"] for event in scrolls[::2]], [-turn / Device.LINE for turn in turns])
        self.assertEqual([event["dx"] for event in scrolls[1::2]], [-turn / Device.LINE for turn in turns])
        for scroll in scrolls:
            self.assert_place(scroll, 120, 70)
        self.assertEqual(self.of_kind("down", "up"), [])

    def test_a_mouse_moves_clicks_and_comes_back(self):
        self.server.place_pointer(200, 100)
        recording = self.start_events()
        self.mouse.move_by(10, 20)
        self.server.run("xinput", "disable", "mouse")
        self.server.run("xinput", "enable", "mouse")
        self.mouse = self.started(Device(self.server.devices["mouse"]))
        self.mouse.button(1, True)
        self.mouse.move_by(5, -5)
        self.mouse.button(1, False)
        self.mouse.scroll(Device.VERTICAL_SCROLL, Device.LINE)
        self.finish(recording)
        self.assertEqual(self.kinds(), ["move", "down", "move", "up", "scroll"])
        places = [(210, 120), (210, 120), (215, 115), (215, 115), (215, 115)]
        for event, place in zip(self.document["events"], places):
            self.assert_place(event, *place)

    def test_two_pointers_have_places_of_their_own(self):
        self.server.run("xinput", "create-master", "second")
        self.server.run("xinput", "reattach", "mouse", "second pointer")
        self.server.place_pointer(50, 60)
        recording = self.start_events()
        self.mouse.move_by(3, 4)
        self.mouse.button(1, True)
        self.server.run("xdotool", "click", 3)
        self.mouse.button(1, False)
        self.finish(recording)
        clicks = self.of_kind("down", "up")
        self.assertEqual([(event["k"], event["button"]) for event in clicks],
                         [("down", 0), ("down", 1), ("up", 1), ("up", 0)])
        self.assert_place(clicks[1], 50, 60)
        self.assertEqual(self.place(clicks[0]), self.place(clicks[3]))
        self.assertEqual(self.place(clicks[0]), self.place(self.of_kind("move")[0]))
        self.assertNotEqual(self.place(clicks[0]), self.place(clicks[1]))

    def test_a_finger_presses_moves_and_lifts_once(self):
        screen = self.started(Device(self.server.devices["touchscreen"]))
        self.server.place_pointer(20, 20)
        recording = self.start_events()
        screen.touch(1, Device.TOUCH_BEGIN, *self.touched(300, 200))
        screen.touch(2, Device.TOUCH_BEGIN, *self.touched(500, 500))
        screen.touch(1, Device.TOUCH_MOVE, *self.touched(320, 210))
        screen.touch(2, Device.TOUCH_MOVE, *self.touched(510, 500))
        screen.touch(1, Device.TOUCH_END, *self.touched(320, 210))
        screen.touch(2, Device.TOUCH_END, *self.touched(510, 500))
        screen.touch(3, Device.TOUCH_BEGIN, *self.touched(10, 590))
        screen.touch(3, Device.TOUCH_END, *self.touched(10, 590))
        self.finish(recording)
        self.assertEqual(self.kinds(), ["move", "down", "move", "up", "move", "down", "up"])
        places = [(300, 200), (300, 200), (320, 210), (320, 210), (10, 590), (10, 590), (10, 590)]
        for event, place in zip(self.document["events"], places):
            self.assert_place(event, *place)
        self.assertEqual({event["button"] for event in self.of_kind("down", "up")}, {0})


if __name__ == "__main__":
    unittest.main()
