#!/usr/bin/env python3
"""A long recording with sound, events and background upload, watched from outside.

    Tests/Soak/soak.py [<minutes>]      30 by default; the program is build/glimto-capture

Six times a window flashes while a beep is played. Tells what the process took over time, and how far
picture, sound and the wall clock ran apart. Exit status 1 when the take is not whole.
"""

import array
import os
import subprocess
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "EndToEnd"))

from support import media, sound  # noqa: E402
from support.dev_server import DevServer  # noqa: E402
from support.live_player import LivePlayer  # noqa: E402
from support.sound_case import SPEAKER, SoundCase  # noqa: E402
from support.tool import STATUS  # noqa: E402

LOOK_INTERVAL = 15
LOOKS_A_LINE = 10
FLASHES = 6
FLASH_LENGTH = 2
FIRST_FLASH = 5
SEGMENT_SECONDS = 4


def looked_at(pid):
    """Resident kilobytes, descriptors, threads, processor seconds."""
    status = Path(f"/proc/{pid}/status").read_text()
    fields = dict(line.split(":\t", 1) for line in status.splitlines() if ":\t" in line)
    times = Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    seconds = (int(times[11]) + int(times[12])) / os.sysconf("SC_CLK_TCK")
    return (int(fields["VmRSS"].split()[0]), len(os.listdir(f"/proc/{pid}/fd")), int(fields["Threads"]), seconds)


class Soak(SoundCase):
    minutes = 30

    def environment(self, **changes):
        return {**super().environment(**changes), "GLIMTO_DESKTOP_ACCESS_KEY": "any"}

    def runTest(self):
        api = self.started(DevServer(self.directory / "store"))
        painter = self.start_painter()
        painter.open("160x240+160+0", override=True).run_clock(20)
        flash = self.start_painter().open("160x240+0+0", "000000", override=True)
        player = self.start_live_player(SPEAKER)
        length = 60 * self.minutes
        recording = self.start_recording(
            "-d", length, "--segment-duration", SEGMENT_SECONDS, "--system-audio", "--record-events", "--no-cursor",
            "--api-base-url", api.address, "--recording-id", "rec")
        began = recording.wait_until_recording().time
        looks, instants = [], []
        next_flash, flash_ends = FIRST_FLASH, None
        while recording.is_running() and time.monotonic() - began < length:
            now = time.monotonic() - began
            if flash_ends and now > flash_ends:
                flash.paint("000000")
                flash_ends = None
            if now > next_flash and now < length - 2 * FLASH_LENGTH:
                painted = flash.paint("ffffff")
                instants.append(((painted.before + painted.after) / 2, player.beep()))
                self.server.place_pointer(int(now) % 320, 100)
                next_flash, flash_ends = next_flash + length / FLASHES, now + FLASH_LENGTH
            if now > LOOK_INTERVAL * len(looks):
                looks.append((now, *looked_at(recording.pid)))
                if len(looks) % LOOKS_A_LINE == 1:
                    self.tell(looks[-1])
            time.sleep(0.2)
        output = recording.finish(300)
        if output.status != 0:
            print("\n".join(f"{line.time - began:8.1f} s: {line.text}" for line in output.lines[-20:]))
        self.assertEqual((output.status, output.texts[-1]), (0, STATUS + "uploaded"), output.errors)
        self.assert_whole_take()
        self.tell(looks[-1])
        self.report(output, instants, length)

    def tell(self, look):
        now, resident, descriptors, threads, seconds = look
        print(f"{now / 60:5.1f} min: {resident / 1024:6.1f} MB, {descriptors} descriptors, {threads} threads, "
              f"{seconds:.1f} s of the processor", flush=True)

    def report(self, output, instants, length):
        print(f"warnings: {output.error_lines or 'none'}")
        manifest = self.manifest()
        for name in ("segments", "audioSegments"):
            total = sum(segment["duration"] for segment in manifest[name])
            print(f"{name}: {len(manifest[name])}, {total:.3f} s of {length} s")
        flashes = self.flashes()
        beeps = [self.beep_after(seen - 1) for seen in flashes]
        self.assertEqual(len(flashes), len(instants))
        for (painted, heard), seen, beep in zip(instants, flashes, beeps):
            print(f"at {seen / 60:5.1f} min: picture {1000 * ((seen - flashes[0]) - (painted - instants[0][0])):+.1f} ms "
                  f"and sound {1000 * ((beep - beeps[0]) - (heard - instants[0][1])):+.1f} ms against the clock, "
                  f"sound {1000 * ((beep - seen) - (heard - painted)):+.1f} ms against the picture")

    def flashes(self):
        """When the left half turned white, in seconds of the picture."""
        joined = self.joined()
        times = media.frame_times(joined)
        gray = media.run_tool("ffmpeg", "-nostdin", "-v", "error", "-i", joined, "-fps_mode", "passthrough", "-vf",
                              "crop=16:16:60:100,scale=1:1:flags=area,format=gray", "-f", "rawvideo", "-")
        self.assertEqual(len(gray), len(times))
        return [times[at] for at in range(1, len(gray)) if gray[at] > 128 >= gray[at - 1]]

    def beep_after(self, start):
        joined = sound.join_audio(self.take, self.directory / "joined-audio.mp4")
        part = subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-i", str(joined), "-af",
                               f"atrim={start}:{start + 3},pan=mono|c0=c1", "-f", "f32le", "-"], capture_output=True, check=True)
        samples = array.array("f", part.stdout)
        first = next(at for at, sample in enumerate(samples) if abs(sample) > LivePlayer.BEEP_LEVEL / 2)
        return start + first / sound.RATE


if __name__ == "__main__":
    if len(sys.argv) > 1:
        Soak.minutes = float(sys.argv[1])
    case = Soak()
    result = case.defaultTestResult()
    case.run(result)
    for _, text in result.errors + result.failures:
        print(text)
    sys.exit(0 if result.wasSuccessful() else 1)
