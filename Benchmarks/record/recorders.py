"""The two recorders, and what a recording with each costs."""
import os
import pathlib
import shutil
import subprocess
import threading

from stage import end

SEGMENT_SECONDS = 4
PRESET = "superfast"
LEAST_BITS = 20_000  # a second, for the peer
GRACE = 120  # seconds beyond its length that a recording may take


def peer_command(stage, folder, seconds, rate, bits_a_second):
    return ["ffmpeg", "-nostdin", "-v", "error", "-y", "-f", "x11grab", "-framerate", str(rate),
            "-video_size", f"{stage.width}x{stage.height}", "-i", stage.environment["DISPLAY"], "-t", str(seconds),
            "-c:v", "libx264", "-preset", PRESET, "-pix_fmt", "yuv420p", "-b:v", str(bits_a_second),
            "-g", str(rate * SEGMENT_SECONDS), "-f", "hls", "-hls_segment_type", "fmp4", "-hls_time", str(SEGMENT_SECONDS),
            "-hls_list_size", "0", str(folder / "playlist.m3u8")]


def our_command(stage, folder, seconds, rate):
    return [str(stage.build / "glimto-capture"), "record", "-d", str(seconds), "-r", str(rate), "-w",
            "--segment-duration", str(SEGMENT_SECONDS), "-o", str(folder)]


def playlist_of(folder):
    return next(folder.rglob("playlist.m3u8"))


def cpu_of(process):
    fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def measure(command, stage, folder, seconds):
    """Records once; CPU seconds a recorded minute of the recorder with its children, and of the X server."""
    server_before = cpu_of(stage.server)
    process = subprocess.Popen(command, env=stage.environment, stdout=subprocess.DEVNULL, stdin=subprocess.DEVNULL,
                               start_new_session=True)
    watch = threading.Timer(seconds + GRACE, end, [process])
    watch.start()
    try:
        _, status, usage = os.wait4(process.pid, 0)
    except SystemExit:
        end(process)
        raise
    finally:
        watch.cancel()
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise RuntimeError(f"{command[0]} ended with status {process.returncode}")
    size = sum(file.stat().st_size for file in folder.rglob("*.m4s"))
    return {"cpu": (usage.ru_utime + usage.ru_stime) * 60 / seconds,
            "server": (cpu_of(stage.server) - server_before) * 60 / seconds,
            "peakMegabytes": usage.ru_maxrss / 1024, "bitsPerSecond": 8 * size / seconds}


def record(stage, folder, seconds, rate, peer_bits=None):
    """Records once, with the peer when it is given a bit rate."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()
    if peer_bits:
        command = peer_command(stage, folder, seconds, rate, peer_bits)
    else:
        command = our_command(stage, folder, seconds, rate)
    return measure(command, stage, folder, seconds)
