"""The development server's pages in a real browser."""

import json
import re
import shutil
import time
from pathlib import Path

from support.browser import Browser
from support.case import EndToEndCase
from support.dev_server import DEV_SERVER, DevServer
from support.media import probe
from support.processes import wait_until
from support.sound_server import SoundServer

CAMERA_VIEWS = Path(__file__).resolve().parents[1] / "Unit/Take/camera-path.json"
VIDEO = "document.getElementById('video')"
# The colour of one pixel of the picture that the video shows.
PIXEL = """(() => { const canvas = document.createElement('canvas'); canvas.width = 320; canvas.height = 240;
    const context = canvas.getContext('2d'); context.drawImage(video, 0, 0, 320, 240);
    return [...context.getImageData(%d, %d, 1, 1).data]; })()"""

# Does with a playlist what the page asks of hls.js.
PLAYER = """window.Hls = class { static Events = { ERROR: 'error' }; on() {} loadSource(address) { this.address = address; }
    attachMedia(video) { const source = new MediaSource(); video.src = URL.createObjectURL(source);
        source.onsourceopen = async () => {
            const lines = (await (await fetch(this.address)).text()).split('\\n');
            const names = lines.flatMap(line => /MAP:URI="(.*)"/.exec(line)?.[1] ?? (line && line[0] !== '#' ? line : []));
            const buffer = source.addSourceBuffer('video/mp4; codecs="avc1.640028"');
            for (const name of names) {
                buffer.appendBuffer(await (await fetch(new URL(name, new URL(this.address, location)))).arrayBuffer());
                await new Promise(done => buffer.onupdateend = done);
            }
            source.endOfStream(); }; } };"""


class DevServerPagesTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.web = self.started(DevServer(self.directory / "store"))
        self.browser = self.started(Browser(self.directory))

    def assert_no_page_error(self):
        wrong = [message for message in self.browser.messages if "favicon" not in str(message)]
        self.assertEqual(wrong, [])

    def upload_two_colours(self):
        """A take that is red for its first two seconds and blue for the rest, with a click at the change."""
        screen = self.start_screen("320x240", "d02020")
        window = self.start_painter().open("320x240+0+0", paint="d02020", override=True)
        recording = self.start_recording("-d", "4", "--segment-duration", "1", "--record-events")
        recording.wait_until_recording()
        time.sleep(2)
        window.paint("2020d0")
        screen.run("xdotool", "mousemove", "160", "60", "click", "1")
        self.assertEqual(recording.finish().status, 0)
        self.assertEqual(self.web.receive("rec_two", self.take)[0], 200)

    def shown(self, x=160, y=200):
        red, _, blue, _ = self.browser.evaluate(PIXEL % (x, y))
        return "red" if red > blue + 60 else "blue" if blue > red + 60 else f"neither: {red}, {blue}"

    def wait_until_shown(self, colour):
        # The event that ends a seek may come before the new picture.
        wait_until(lambda: self.shown() == colour, f"{colour} on the page")

    def seek(self, seconds):
        self.browser.evaluate(f"new Promise(done => {{ video.onseeked = done; video.currentTime = {seconds}; }})")

    def test_a_take_plays_to_its_end_and_seeks(self):
        self.upload_two_colours()
        self.browser.open(self.web.pages + "/rec_two")
        self.browser.wait_for(f"{VIDEO}.readyState >= 3")
        self.browser.evaluate(f"window.video = {VIDEO}; video.muted = true; video.playbackRate = 2; video.play()")
        self.browser.wait_for("video.ended")
        length = self.manifest()["totalDuration"]
        self.assertAlmostEqual(self.browser.evaluate("video.currentTime"), length, delta=0.1)
        self.assertEqual(self.browser.evaluate("[video.videoWidth, video.videoHeight]"), [320, 240])
        for moment, colour in [(0.5, "red"), (3.5, "blue"), (1.2, "red")]:
            self.seek(moment)
            self.wait_until_shown(colour)
        self.assert_no_page_error()

    def test_a_take_with_sound_plays_with_sound(self):
        sound = self.started(SoundServer())
        self.start_screen("320x240", "206020")
        environment = sound.environment(self.environment())
        sound_places = {name: value for name, value in environment.items() if name.startswith(("PULSE", "XDG_RUNTIME"))}
        self.record("-d", "3", "--system-audio", **sound_places)
        self.assertEqual(self.web.receive("rec_sound", self.take)[0], 200)
        self.browser.open(self.web.pages + "/rec_sound")
        self.browser.wait_for(f"{VIDEO}.readyState >= 3")
        self.browser.evaluate(f"window.video = {VIDEO}; video.play()")
        self.browser.wait_for("video.ended")
        # The browser counts what its decoders took.
        self.assertGreater(self.browser.evaluate("video.webkitAudioDecodedByteCount"), 0)
        self.assertGreater(self.browser.evaluate("video.webkitVideoDecodedByteCount"), 0)
        self.assert_no_page_error()

    def test_a_browser_without_hls_plays_by_the_script_beside_the_server(self):
        self.upload_two_colours()
        web = self.directory / "web"
        web.mkdir()
        (web / "hls.min.js").write_text(PLAYER)
        self.web.end()
        self.web = self.started(DevServer(self.directory / "store", "--web-dir", web))
        self.browser.open(self.web.pages + "/rec_two?player=hls.js")
        self.browser.wait_for(f"{VIDEO}.readyState >= 3 && {VIDEO}.src.startsWith('blob:')")
        self.browser.evaluate(f"window.video = {VIDEO}; 0")
        # The stand-in for a player loads everything first; it does not see to what a seek lacks.
        self.browser.wait_for("video.buffered.length === 1 && video.buffered.end(0) > 3.6")
        self.seek(3.5)
        self.wait_until_shown("blue")
        self.assert_no_page_error()

    def test_without_any_player_the_page_says_so(self):
        self.upload_two_colours()
        web = self.directory / "empty"
        web.mkdir()
        self.web.end()
        self.web = self.started(DevServer(self.directory / "store", "--web-dir", web))
        self.browser.open(self.web.pages + "/rec_two?player=hls.js")
        self.browser.wait_for("document.getElementById('warning').textContent.includes('does not play HLS by itself')")

    def test_keys_steer_the_video(self):
        self.upload_two_colours()
        self.browser.open(self.web.pages + "/rec_two")
        self.browser.wait_for(f"{VIDEO}.readyState >= 3")
        self.browser.evaluate(f"window.video = {VIDEO}; video.muted = true; 0")
        self.browser.press(" ", " ")
        self.browser.wait_for("!video.paused && video.currentTime > 0.2")
        self.browser.press("k", "k")
        self.browser.wait_for("video.paused")
        self.browser.press("5", "5")
        self.browser.wait_for("!video.seeking")
        self.assertAlmostEqual(self.browser.evaluate("video.currentTime"), self.browser.evaluate("video.duration") / 2,
                               delta=0.05)
        before = self.browser.evaluate("video.currentTime")
        self.browser.press(".", ".")
        self.assertAlmostEqual(self.browser.evaluate("video.currentTime"), before + 1 / 30, delta=0.002)
        self.browser.press("ArrowLeft")
        self.assertEqual(self.browser.evaluate("video.currentTime"), 0)
        self.browser.press("m", "m")
        self.assertFalse(self.browser.evaluate("video.muted"))

    def test_the_pointer_is_drawn_where_it_was(self):
        self.upload_two_colours()
        self.browser.open(self.web.pages + "/rec_two")
        self.browser.wait_for(f"{VIDEO}.readyState >= 3")
        self.browser.evaluate(f"window.video = {VIDEO}; 0")
        self.browser.wait_for("document.getElementById('pointernote').textContent.includes('events')")
        self.seek(3.5)
        ink = """new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => {
            const canvas = document.getElementById('pointer');
            const data = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data;
            const box = [1e9, 1e9]; for (let y = 0; y < canvas.height; y++) for (let x = 0; x < canvas.width; x++)
                if (data[(y * canvas.width + x) * 4 + 3] > 128) { box[0] = Math.min(box[0], x); box[1] = Math.min(box[1], y); }
            done([box[0] / canvas.width, box[1] / canvas.height]); })))"""
        x, y = self.browser.evaluate(ink)
        self.assertAlmostEqual(x, 0.5, delta=0.02)
        self.assertAlmostEqual(y, 0.25, delta=0.03)
        self.browser.press("p", "p")
        self.assertGreater(self.browser.evaluate(ink)[0], 1)

    def test_a_take_is_downloaded_as_one_file(self):
        self.upload_two_colours()
        self.browser.open(self.web.pages + "/rec_two")
        self.browser.wait_for("!document.getElementById('downloads').hidden")
        address = self.browser.evaluate("document.getElementById('download').href")
        status, headers, film = self.web.request("GET", address)
        self.assertEqual((status, headers["Content-Type"], headers["Content-Disposition"]),
                         (200, "video/mp4", 'attachment; filename="rec_two.mp4"'))
        (self.directory / "film.mp4").write_bytes(film)
        length = probe(self.directory / "film.mp4", "-show_format")["format"]["duration"]
        self.assertAlmostEqual(float(length), self.manifest()["totalDuration"], delta=0.05)
        status, headers, part = self.web.request("GET", address, headers={"Range": "bytes=4-7"})
        self.assertEqual((status, part), (206, b"ftyp"))

    def test_what_no_file_can_be_made_of_is_told(self):
        self.web.api("POST", "", {"recordingId": "rec_half"})
        for name in ("take.mp4", "zooms.json"):
            self.assertEqual(self.web.request("GET", f"/recordings/rec_half/{name}")[0], 409)
            self.assertEqual(self.web.request("GET", f"/recordings/nobody/{name}")[0], 404)
        self.upload_two_colours()
        self.assertEqual(self.web.request("GET", "/recordings/rec_two/take.mp4")[0], 200)
        [url] = self.web.sign("rec_two", "segments/video/init.mp4")
        self.assertEqual(self.web.put(url, b"no film at all"), 200)
        status, _, text = self.web.request("GET", "/recordings/rec_two/take.mp4")
        self.assertEqual((status, json.loads(text)["error"]["message"]),
                         (422, "glimto-take makes nothing of this recording; `glimto-take info` tells why."))

    def test_without_glimto_take_nothing_is_offered(self):
        alone = shutil.copy(DEV_SERVER, self.directory)
        self.upload_two_colours()
        self.web.end()
        self.web = self.started(DevServer(self.directory / "store", program=(alone,)))
        self.browser.open(self.web.pages + "/rec_two")
        self.browser.wait_for("document.getElementById('pointernote').textContent.includes('events')")
        for name in ("downloads", "togglezoom"):
            self.assertTrue(self.browser.evaluate(f"document.getElementById('{name}').hidden"))
        self.assertEqual(self.web.request("GET", "/recordings/rec_two/take.mp4")[0], 404)
        self.assert_no_page_error()

    def test_the_zooms_are_those_of_a_rendered_take(self):
        known = json.loads(CAMERA_VIEWS.read_text())
        self.browser.open(self.web.pages)
        seen = self.browser.evaluate(f"""import('/web/zoom.js').then(({{ CameraPath }}) => {{
            const path = new CameraPath({json.dumps(known["zooms"])});
            return {json.dumps(known["views"])}.map(([time]) => path.at(time)); }})""")
        self.assertEqual(len(seen), len(known["views"]))
        for view, (time_, *expected) in zip(seen, known["views"]):
            for value, wanted in zip((view["left"], view["top"], view["size"]), expected):
                self.assertAlmostEqual(value, wanted, delta=1e-8, msg=f"at {time_} s")

    def test_the_picture_moves_closer_to_a_click(self):
        self.upload_two_colours()
        self.browser.open(self.web.pages + "/rec_two")
        self.browser.wait_for(f"{VIDEO}.readyState >= 3 && !document.getElementById('togglezoom').hidden")
        [zoom] = json.loads(self.web.request("GET", "/recordings/rec_two/zooms.json")[2])["zooms"]
        self.browser.evaluate(f"window.video = {VIDEO}; 0")
        self.seek((zoom["from"] + zoom["to"]) / 2)
        box = "video.style.objectViewBox"
        self.assertEqual(self.browser.evaluate(box), "")
        self.browser.press("z", "z")
        self.browser.wait_for(f"{box} !== ''")
        # The click was half way from left to right, where both sides are the same: told once.
        top, side, bottom = map(float, re.findall(r"[-0-9.e]+(?=%)", self.browser.evaluate(box)))
        self.assertAlmostEqual(2 * side, 100 * (1 - 1 / zoom["scale"]), delta=0.01)
        self.assertAlmostEqual(top + bottom, 100 * (1 - 1 / zoom["scale"]), delta=0.01)
        self.assertLess(top, bottom)
        self.browser.press("z", "z")
        self.browser.wait_for(f"{box} === ''")
        self.assert_no_page_error()

    def test_progress_is_shown_until_the_upload_is_complete(self):
        self.upload_two_colours()
        self.web.api("POST", "", {"recordingId": "rec_half"})
        self.browser.open(self.web.pages + "/rec_half")
        text = "document.getElementById('progresstext').textContent"
        self.browser.wait_for(f"{text}.includes('Nothing has been uploaded')")
        [url] = self.web.sign("rec_half", "segments/video/segment_000.m4s")
        self.web.put(url, (self.take / "segments/video/segment_000.m4s").read_bytes())
        self.browser.wait_for(f"{text}.includes('Uploading: 1 files')")
        self.web.receive("rec_half", self.take)
        self.browser.wait_for(f"!document.getElementById('stage').hidden && {VIDEO}.readyState >= 3")

    def test_the_list_shows_every_recording_and_fits_a_phone(self):
        self.upload_two_colours()
        self.browser.resize(360, 740)
        self.browser.open(self.web.pages)
        self.browser.wait_for("document.querySelectorAll('#recordings a').length === 1")
        self.assertEqual(self.browser.evaluate("document.querySelector('#recordings strong').textContent"), "rec_two")
        self.assertEqual(self.browser.evaluate("document.querySelector('#recordings a').getAttribute('href')"),
                         "/recordings/rec_two")
        self.browser.wait_for("document.querySelector('#recordings img').naturalWidth === 320")
        self.web.api("POST", "", {"recordingId": "rec_new"})
        self.browser.wait_for("document.querySelectorAll('#recordings a').length === 2")
        self.assertLessEqual(self.browser.evaluate("document.documentElement.scrollWidth"), 360)
        self.browser.open(self.web.pages + "/rec_two")
        self.browser.wait_for(f"{VIDEO}.readyState >= 3")
        self.assertLessEqual(self.browser.evaluate("document.documentElement.scrollWidth"), 360)

    def test_nothing_that_was_uploaded_can_run_in_a_page(self):
        self.upload_two_colours()
        for name in ["<img src=x onerror=alert(1)>", "\"><script>alert(1)</script>", "..", "a/b"]:
            self.assertEqual(self.web.api("POST", "", {"recordingId": name})[0], 400)
        hostile = b'{"version":1,"events":[{"t":"<img src=x onerror=alert(1)>","k":"down","x":0,"y":0},{"t":1,"k":"move","x":0.5,"y":0.5}]}'
        [url] = self.web.sign("rec_two", "events.json")
        self.assertEqual(self.web.put(url, hostile), 200)
        [url] = self.web.sign("rec_two", "manifest.json")
        manifest = b'{"totalDuration":"<img src=x onerror=alert(1)>","video":{"width":"<b>"},"segments":[]}'
        self.assertEqual(self.web.put(url, manifest), 200)
        self.browser.open(self.web.pages + "/rec_two")
        self.browser.wait_for("document.getElementById('pointernote').textContent === '1 events'")
        self.assertEqual(self.browser.evaluate("document.querySelectorAll('img[src=x], b').length"), 0)
        self.browser.open(self.web.pages)
        self.browser.wait_for("document.querySelectorAll('#recordings a').length === 1")
        self.assertEqual(self.browser.evaluate("document.querySelectorAll('img[src=x], b').length"), 0)
        self.assertFalse(any("Dialog" in message["method"] for message in self.browser.messages))
        self.browser.open(self.web.pages + "/nobody")
        self.assertIn("no such recording", self.browser.evaluate("document.body.textContent"))
