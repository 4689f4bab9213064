"""Takes in the players that people have: FFmpeg's, GStreamer's and a web browser's."""

import http.server
import json
import subprocess
import threading
import time
import unittest
from pathlib import Path

from support import media
from support.case import EndToEndCase
from support.processes import Child, wait_until

CHROMIUM = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
            "--disable-background-networking", "--disable-component-update", "--disable-sync", "--mute-audio",
            "--autoplay-policy=no-user-gesture-required", "--disable-dev-shm-usage", "--remote-debugging-port=0"]
# Columns of known colours, of which a wrong matrix or range turns some into others.
COLUMNS = ["000000", "ffffff", "808080", "e01010", "10c020", "2030e0", "e0d020", "c020c0"]
COLUMN_WIDTH = 40
COLOUR_ERROR = 6  # what is lost to 8 bits of luma and chroma and to the encoder
PAGE = """<!DOCTYPE html><meta charset="utf-8"><video id="player" muted></video><script>
const player = document.getElementById("player");
const report = facts => fetch("/report", {method: "POST", body: JSON.stringify(facts)});
const fail = reason => report({error: String(reason)});
const appended = buffer => new Promise((done, failed) => {
    buffer.onupdateend = done;
    buffer.onerror = () => failed("append");
});
async function play() {
    const source = new MediaSource();
    player.src = URL.createObjectURL(source);
    await new Promise(done => source.onsourceopen = done);
    const buffer = source.addSourceBuffer(TYPE);
    for (const piece of PIECES) {
        const bytes = await (await fetch(piece)).arrayBuffer();
        buffer.appendBuffer(bytes);
        await appended(buffer);
    }
    source.endOfStream();
    player.onerror = () => fail(player.error.message);
    const canvas = document.createElement("canvas");
    [canvas.width, canvas.height] = [320, 240];
    const drawing = canvas.getContext("2d");
    const pixel = x => [...drawing.getImageData(x, 60, 1, 1).data].slice(0, 3);
    const pixels = () => {
        drawing.drawImage(player, 0, 0);
        return [...Array(8).keys()].map(column => pixel(column * 40 + 20));
    };
    player.onended = () => report({duration: player.duration, currentTime: player.currentTime,
        width: player.videoWidth, height: player.videoHeight, ranges: player.buffered.length,
        frames: player.getVideoPlaybackQuality().totalVideoFrames, pixels: pixels()});
    await player.play();
}
play().catch(fail);
</script>"""


class TakeServer:
    """Serves a page that plays a take and keeps what the page reports."""

    def __init__(self, take, page):
        self.report = None
        outer = self

        class Handler(http.server.SimpleHTTPRequestHandler):
            def __init__(self, *arguments):
                super().__init__(*arguments, directory=str(take))

            def do_GET(self):
                if self.path != "/":
                    super().do_GET()
                    return
                self.send_response(200)
                self.send_header("Content-Type", "text/html")
                self.end_headers()
                self.wfile.write(page.encode())

            def do_POST(self):
                outer.report = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
                self.send_response(204)
                self.end_headers()

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.address = f"http://127.0.0.1:{self.server.server_port}/"
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def end(self):
        self.server.shutdown()
        self.server.server_close()


class PlaybackCase(EndToEndCase):
    def record_clock(self):
        self.start_screen("320x240")
        painter = self.start_painter()
        for number, colour in enumerate(COLUMNS):
            painter.open(f"{COLUMN_WIDTH}x120+{number * COLUMN_WIDTH}+0", colour, override=True)
        painter.open("320x120+0+120", override=True).run_clock(40)
        self.record("-d", "2", "--segment-duration", "0.5")

    def assert_shows_columns(self, pixels):
        for wanted, seen in zip(COLUMNS, pixels, strict=True):
            for meant, channel in zip(bytes.fromhex(wanted), seen, strict=True):
                self.assertLessEqual(abs(channel - meant), COLOUR_ERROR, f"{wanted} came out as {bytes(seen).hex()}")

    def columns_of(self, frame):
        return [frame.pixel(column * COLUMN_WIDTH + COLUMN_WIDTH // 2, 60) for column in range(len(COLUMNS))]

    def served_page(self):
        """A server of the page that plays the take."""
        manifest = self.manifest()
        pieces = ["/" + manifest["initSegmentKey"], *("/" + segment["key"] for segment in manifest["segments"])]
        page = PAGE.replace("PIECES", json.dumps(pieces)).replace("TYPE", json.dumps(self.media_type()))
        server = TakeServer(self.take, page)
        self.addCleanup(server.end)
        return server

    def media_type(self):
        """The MIME type with the profile and level of the stream."""
        stream = media.video_stream(self.joined())
        self.assertEqual(stream["profile"], "High")
        return 'video/mp4; codecs="avc1.6400%02x"' % stream["level"]


class PlaybackTests(PlaybackCase):
    def test_ffprobe_reads_the_playlist_to_its_end(self):
        self.record_clock()
        playlist = self.take / "segments/playlist.m3u8"
        found = media.probe(playlist, "-show_format", "-show_streams", "-count_frames")
        self.assertEqual([stream["codec_name"] for stream in found["streams"]], ["h264"])
        colours = {name: found["streams"][0][f"color_{name}"] for name in ("range", "space", "transfer", "primaries")}
        self.assertEqual(colours, {"range": "tv", "space": "smpte170m", "transfer": "bt709", "primaries": "bt709"})
        self.assertAlmostEqual(float(found["format"]["duration"]), self.manifest()["totalDuration"], delta=0.05)
        self.assertEqual(int(found["streams"][0]["nb_read_frames"]), len(media.frame_times(self.joined())))
        self.assert_shows_columns(self.columns_of(self.frames()[-1]))

    def test_one_file_of_the_playlist_can_be_sought_in(self):
        self.record_clock()
        single = self.directory / "single.mp4"
        media.run_tool("ffmpeg", "-nostdin", "-v", "error", "-i", self.take / "segments/playlist.m3u8", "-c", "copy",
                       single)
        for file in (single, self.joined()):
            frame = media.run_tool("ffmpeg", "-nostdin", "-v", "error", "-ss", "1.2", "-i", file, "-frames:v", "1",
                                   "-f", "rawvideo", "-pix_fmt", "gray", "-")
            self.assertEqual(len(frame), 320 * 240)

    def test_every_segment_plays_alone_after_the_initialization_segment(self):
        self.record_clock()
        init = (self.take / "segments/video/init.mp4").read_bytes()
        alone = self.directory / "alone.mp4"
        for segment in self.manifest()["segments"]:
            alone.write_bytes(init + (self.take / segment["key"]).read_bytes())
            times = media.frame_times(alone)
            self.assertAlmostEqual(times[0], segment["earliestPresentationTime"], delta=0.002)
            self.assertLess(times[-1], segment["earliestPresentationTime"] + segment["duration"])

    def test_gstreamer_plays_the_playlist_and_the_joined_file(self):
        self.record_clock()
        environment = self.environment(GST_REGISTRY=str(self.directory / "registry.bin"))
        for path in [self.joined(), self.take / "segments/playlist.m3u8"]:
            with self.subTest(path=path.name):
                done = subprocess.run(
                    ["gst-launch-1.0", "-q", "uridecodebin", "uri=" + path.as_uri(), "!", "fakesink", "sync=false"],
                    env=environment, capture_output=True, text=True, timeout=60, stdin=subprocess.DEVNULL)
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertNotIn("ERROR", done.stdout + done.stderr)
        decoded = self.directory / "decoded.rgb"
        media.run_tool("env", f"GST_REGISTRY={environment['GST_REGISTRY']}", "gst-launch-1.0", "-q", "uridecodebin",
                       "uri=" + self.joined().as_uri(), "!", "videoconvert", "!", "video/x-raw,format=RGB", "!",
                       "filesink", f"location={decoded}")
        self.assert_shows_columns(self.columns_of(media.Frame(320, 240, decoded.read_bytes()[-320 * 240 * 3:])))

    def test_web_browser_plays_initialization_and_media_segments(self):
        self.record_clock()
        server = self.served_page()
        self.started(Child([*CHROMIUM, f"--user-data-dir={self.directory / 'profile'}", server.address],
                           self.environment(HOME=str(self.directory)), start_new_session=True))
        report = wait_until(lambda: server.report, "the end of playback in the browser", limit=90)
        self.assertNotIn("error", report)
        self.assertEqual((report["width"], report["height"], report["ranges"]), (320, 240, 1))
        self.assertAlmostEqual(report["duration"], self.manifest()["totalDuration"], delta=0.05)
        self.assertAlmostEqual(report["currentTime"], report["duration"], delta=0.1)
        self.assertGreater(report["frames"], 10)
        self.assert_shows_columns(report["pixels"])


if __name__ == "__main__":
    unittest.main()
