"""What the listing commands tell about the screen: sources, windows and the permission."""

import json
import re
import unittest

from support.case import EndToEndCase
from support.processes import wait_until
from support.tool import TIME_STAMP

SPACE = "screenCaptureKitGlobalDisplayPoints"
LISTING_KEYS = {"schemaVersion", "coordinateSpace", "generatedAt", "permission", "displays", "windows"}
GRANTED = {"screenRecording": "granted", "preflightGranted": True}
DENIED = {"screenRecording": "denied", "preflightGranted": False}


class ListingCase(EndToEndCase):
    def list_windows(self, *arguments, **environment):
        output = self.run_tool(*(arguments or ("windows-json",)), **environment)
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assertEqual(len(output.lines), 1)
        payload = output.json()
        self.assertEqual(output.texts[0], json.dumps(payload, sort_keys=True, separators=(",", ":"),
                                                     ensure_ascii=False))
        return payload


class PermissionTests(ListingCase):
    def test_permission_is_granted_where_the_screen_can_be_read(self):
        self.start_screen()
        for word in ("permission-json", "permissions-json", "preflight-json"):
            output = self.run_tool(word, "--any", "thing")
            self.assertEqual((output.status, output.errors), (0, ""))
            self.assertEqual(output.texts, ['{"preflightGranted":true,"screenRecording":"granted"}'])

    def test_permission_is_denied_without_a_screen_and_still_no_error(self):
        self.start_screen()
        for environment in ({"DISPLAY": None}, {"DISPLAY": ":4711"}, {"WAYLAND_DISPLAY": "wayland-0"}):
            with self.subTest(environment=environment):
                output = self.run_tool("permission-json", **environment)
                self.assertEqual(output.status, 0)
                # Why, in one sentence, and no error.
                self.assertRegex(output.errors, r"\Awarning: [^\n]+\.\n\Z")
                self.assertEqual(output.texts, ['{"preflightGranted":false,"screenRecording":"denied"}'])


class WindowListTests(ListingCase):
    def wait_until_stacked(self, *windows):
        """The window manager has all of them, the last one on top."""
        expected = [hex(window.id) for window in windows]
        wait_until(lambda: self.stacking() == expected, f"the stacking {expected}")

    def stacking(self):
        return re.findall("0x[0-9a-f]+", self.server.run("xprop", "-root", "_NET_CLIENT_LIST_STACKING"))

    def test_payload_has_exactly_the_specified_keys(self):
        self.start_screen("320x240")
        window = self.start_painter().open("50x40+10+20", title=" A title\n", override=True)
        payload = self.list_windows()
        self.assertEqual(set(payload), LISTING_KEYS)
        self.assertEqual((payload["schemaVersion"], payload["coordinateSpace"]), (1, SPACE))
        self.assertRegex(payload["generatedAt"], TIME_STAMP)
        self.assertEqual(payload["permission"], GRANTED)
        display, = payload["displays"]
        self.assertGreater(display.pop("id"), 0)
        self.assertEqual(display, {"frame": {"x": 0, "y": 0, "width": 320, "height": 240}, "width": 320,
                                   "height": 240, "scale": 1})
        self.assertEqual(payload["windows"], [{
            "windowID": window.id, "frame": {"x": 10, "y": 20, "width": 50, "height": 40}, "title": "A title",
            "owningApplication": {"name": "Painter", "bundleID": "painter", "pid": window.painter.pid}}])

    def test_enumeration_is_told_by_windows_and_not_by_windows_json(self):
        self.start_screen()
        for words, enumeration in [
                (["windows"], (True, True)), (["list-windows", "--visible"], (True, True)),
                (["windows", "--all"], (False, False)), (["list-windows", "--recording-candidates"], (False, False)),
                (["windows", "--all", "--visible"], (True, True))]:
            with self.subTest(words=words):
                self.assertEqual(self.list_windows(*words)["enumeration"],
                                 {"excludingDesktopWindows": enumeration[0], "onScreenWindowsOnly": enumeration[1]})
        for words in (["windows-json"], ["windows-json", "--all"], ["--list-windows-json"]):
            with self.subTest(words=words):
                self.assertNotIn("enumeration", self.list_windows(*words))

    def test_minimised_windows_are_listed_among_all_but_not_among_the_visible(self):
        self.start_screen("640x480")
        self.start_window_manager()
        painter = self.start_painter()
        shown = painter.open("100x80+10+10", title="Shown")
        hidden = painter.open("100x80+200+10", title="Hidden")
        # What a window manager has done shows in its properties.
        self.wait_until_stacked(shown, hidden)
        hidden.iconify()
        wait_until(lambda: "window state: Iconic" in self.server.run("xprop", "-id", hidden.id, "WM_STATE"),
                   "the minimised window")
        self.assertEqual({window["windowID"] for window in self.list_windows("windows-json", "--all")["windows"]},
                         {shown.id, hidden.id})
        self.assertEqual([window["windowID"] for window in self.list_windows("windows-json")["windows"]], [shown.id])

    def test_frontmost_window_is_first(self):
        self.start_screen("640x480")
        self.start_window_manager()
        painter = self.start_painter()
        first = painter.open("100x80+10+10")
        second = painter.open("100x80+20+20")
        self.wait_until_stacked(first, second)
        first.raise_to_top()
        self.wait_until_stacked(second, first)
        self.assertEqual([window["windowID"] for window in self.list_windows()["windows"]], [first.id, second.id])

    def test_blank_titles_are_left_out(self):
        self.start_screen()
        painter = self.start_painter()
        painter.open("50x40+10+20", title="   ", override=True)
        painter.open("50x40+10+20", override=True)
        for window in self.list_windows()["windows"]:
            self.assertNotIn("title", window)

    def test_titles_of_every_kind_give_well_formed_text(self):
        self.start_screen()
        painter = self.start_painter()
        titles = [b"caf\xc3\xa9 \xe2\x9c\x93 \xf0\x9f\x8e\xa5", b"quote \" back \\ slash /", b"bad \xff\xfe bytes",
                  b"cut \xe2\x82", b"tab\there", b"lone \xed\xa0\x80 surrogate"]
        for title in titles:
            painter.open("50x40+10+20", title=title, override=True)
        listed = [window["title"] for window in reversed(self.list_windows()["windows"])]
        self.assertEqual(listed[0], "caf\u00e9 \u2713 \U0001f3a5")
        self.assertEqual(listed[1], 'quote " back \\ slash /')
        self.assertRegex(listed[2], "\\Abad .+ bytes\\Z")
        self.assertTrue(listed[3].startswith("cut"))
        self.assertEqual(listed[4], "tab\there")
        self.assertRegex(listed[5], "\\Alone .+ surrogate\\Z")

    def test_hundred_windows_are_all_listed(self):
        self.start_screen("640x480")
        painter = self.start_painter()
        opened = [painter.open(f"30x30+{3 * at}+{2 * at}", title=f"Window {at}", override=True) for at in range(100)]
        listed = self.list_windows()["windows"]
        self.assertEqual([window["windowID"] for window in listed], [window.id for window in reversed(opened)])
        self.assertEqual([window["title"] for window in listed], [f"Window {at}" for at in reversed(range(100))])

    def test_window_without_class_and_process_property_belongs_to_the_process_that_the_server_knows(self):
        self.start_screen()
        painter = self.start_painter()
        painter.open("50x40+10+20", window_class="", pid=0, override=True)
        window, = self.list_windows()["windows"]
        self.assertEqual(window["owningApplication"]["pid"], painter.pid)
        self.assertTrue(window["owningApplication"]["name"])

    def test_failure_is_told_inside_the_payload(self):
        for environment, word in [({"DISPLAY": None}, "DISPLAY"), ({"DISPLAY": ":4711"}, ":4711"),
                                  ({"DISPLAY": ":4711", "WAYLAND_DISPLAY": "wayland-0"}, "Wayland")]:
            with self.subTest(environment=environment):
                payload = self.list_windows("windows", **environment)
                self.assertEqual(set(payload), LISTING_KEYS | {"error", "enumeration"})
                self.assertEqual((payload["displays"], payload["windows"]), ([], []))
                self.assertEqual(payload["permission"], DENIED)
                self.assertEqual(sorted(payload["error"]), ["code", "domain", "message", "nsCode", "type"])
                self.assertEqual(payload["error"]["code"], "sckEnumerationFailed")
                self.assertIn(word, payload["error"]["message"])


class SourcesTests(ListingCase):
    def test_applications_are_listed_by_name_upper_case_first(self):
        self.start_screen("320x240")
        for name in ("beta", "Alpha", "Zeta", "alpha"):
            self.start_painter().open("50x40+10+20", window_class=name, override=True)
        output = self.run_tool("sources", "--ignored")
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assertEqual(output.texts[0], "Screens:")
        self.assertRegex(output.texts[1], r"\A  screen:0 -> Display 1 \(320x240\) id=[1-9]\d*\Z")
        self.assertEqual(output.texts[2:], ["", "Applications with windows:", "  Alpha", "    App ID: alpha",
                                            "  Zeta", "    App ID: zeta", "  alpha", "    App ID: alpha",
                                            "  beta", "    App ID: beta"])

    def test_screen_without_windows_lists_the_display_only(self):
        self.start_screen("320x240")
        output = self.run_tool("sources")
        self.assertEqual(len(output.texts), 2)


if __name__ == "__main__":
    unittest.main()
