"""Files of a take: safe access to them, playlist texts, and what FFmpeg's tools say of them.

Nothing here trusts the take: a key that leads out of it, a link to another place, a pipe in the place
of a file or a playlist that names a URL is a Problem, and no tool is started on it.
"""

import json
import math
import os
import re
import stat
import subprocess
import threading
from pathlib import Path

KEY_PIECE = re.compile(r"[A-Za-z0-9._=@-]+\Z")
LARGEST_TEXT = 64 * 1024 * 1024  # bytes of a manifest or playlist
# FFmpeg may open files and nothing else, and only as what they have to be.
SAFE_INPUT = ["-protocol_whitelist", "file", "-format_whitelist", "hls,mov,mp4"]


class Problem(Exception):
    """Why a check fails, as one line for the reader."""


class Take:
    """The directory of one take."""

    def __init__(self, root):
        self.root = Path(os.path.realpath(root))

    def file(self, key):
        """The regular file that `key` names below the take, or a Problem."""
        if not isinstance(key, str) or not key:
            raise Problem(f"not a key: {shown(key)}")
        pieces = key.split("/")
        if any(piece in (".", "..") or not KEY_PIECE.match(piece) for piece in pieces):
            raise Problem(f"not a key inside the take: {shown(key)}")
        path = self.root.joinpath(*pieces)
        try:
            real = Path(os.path.realpath(path, strict=True))
            mode = real.stat().st_mode
        except (OSError, RuntimeError) as error:
            raise Problem(f"{shown(key)}: {reason(error)}") from None
        if self.root not in real.parents:
            raise Problem(f"{shown(key)} leads out of the take")
        if not stat.S_ISREG(mode):
            raise Problem(f"{shown(key)} is not a regular file")
        return path

    def text(self, key, largest=LARGEST_TEXT):
        path = self.file(key)
        try:
            if path.stat().st_size > largest:
                raise Problem(f"{key} is larger than {largest} bytes")
            return path.read_bytes().decode("utf-8")
        except OSError as error:
            raise Problem(f"{key}: {reason(error)}") from None
        except UnicodeDecodeError:
            raise Problem(f"{key} is not UTF-8") from None

    def json(self, key, largest=LARGEST_TEXT):
        def refuse(constant):
            raise ValueError(f"{constant} is not a JSON number")

        try:
            return json.loads(self.text(key, largest), parse_constant=refuse)
        except (ValueError, RecursionError) as error:
            raise Problem(f"{key} is not JSON: {error}") from None


def shown(value):
    """`value` as short text that cannot disturb a terminal."""
    text = json.dumps(value) if not isinstance(value, str) else value
    text = "".join(c if c.isprintable() else "?" for c in text)
    return text if len(text) <= 120 else text[:117] + "..."


def reason(error):
    return getattr(error, "strerror", None) or str(error)


def media_playlist(init_uri, uris, durations):
    """The one right text of a media playlist (RFC 8216)."""
    target = max(1, math.ceil(max(durations, default=0)))
    lines = ["#EXTM3U", "#EXT-X-VERSION:7", f"#EXT-X-TARGETDURATION:{target}", "#EXT-X-MEDIA-SEQUENCE:0",
             "#EXT-X-INDEPENDENT-SEGMENTS", f'#EXT-X-MAP:URI="{init_uri}"']
    for uri, duration in zip(uris, durations):
        lines += [f"#EXTINF:{duration:.6f},", uri]
    return "\n".join(lines + ["#EXT-X-ENDLIST"]) + "\n"


def master_playlist(width, height, frames_per_second):
    """The one right text of the master playlist of a take with sound."""
    return (
        "#EXTM3U\n#EXT-X-VERSION:7\n"
        '#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID="system-audio",NAME="Audio",DEFAULT=YES,AUTOSELECT=YES,'
        'URI="audio/playlist.m3u8"\n'
        f"#EXT-X-STREAM-INF:BANDWIDTH=16000000,RESOLUTION={width}x{height},FRAME-RATE={frames_per_second},"
        'CODECS="avc1.640028,mp4a.40.2",AUDIO="system-audio"\n'
        "video/playlist.m3u8\n"
    )


def playlist_uris(text):
    """Every address that a player would follow from this playlist."""
    lines = [line.strip() for line in text.splitlines()]
    uris = [line for line in lines if line and not line.startswith("#")]
    for line in lines:
        if line.startswith("#"):
            uris += re.findall(r'URI\s*=\s*"?([^",]*)', line)
    return uris


def extinf_durations(text):
    return [float(found) for found in re.findall(r"^#EXTINF:([0-9]{1,9}(?:\.[0-9]{1,9})?),", text, re.MULTILINE)]


def jpeg_size(path):
    """Width and height that a whole JPEG file (ITU-T T.81) declares."""
    data = path.read_bytes()
    if data[:3] != b"\xff\xd8\xff" or data[-2:] != b"\xff\xd9":
        raise Problem(f"{path.name} is not a whole JPEG")
    at = 2
    while at + 9 < len(data) and data[at] == 0xFF:
        marker = data[at + 1]
        if 0xC0 <= marker <= 0xCF and marker not in (0xC4, 0xC8, 0xCC):
            return int.from_bytes(data[at + 7 : at + 9], "big"), int.from_bytes(data[at + 5 : at + 7], "big")
        at += 2 + int.from_bytes(data[at + 2 : at + 4], "big")
    raise Problem(f"{path.name} has no picture")


def run_tool(arguments, timeout, stdout=subprocess.PIPE, stdin=subprocess.DEVNULL, feed=None):
    """Runs one of FFmpeg's tools; a Problem with its first message when it fails or complains."""
    name = arguments[0]
    with subprocess.Popen(arguments, stdin=subprocess.PIPE if feed else stdin, stdout=stdout,
                          stderr=subprocess.PIPE) as process:
        feeder = None
        if feed:
            feeder = threading.Thread(target=feed, args=(process.stdin,), daemon=True)
            feeder.start()
            # communicate() must leave the pipe to its feeder.
            process.stdin = None
        try:
            output, complaints = process.communicate(timeout=timeout)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            raise Problem(f"{name} did not finish within {timeout:.0f} s") from None
        finally:
            if feeder:
                feeder.join(timeout=10)
    messages = complaints.decode("utf-8", "replace").strip().splitlines()
    if process.returncode != 0 or messages:
        raise Problem(f"{name}: {shown(messages[0]) if messages else f'exit status {process.returncode}'}")
    return output


def probe_concatenation(files, timeout):
    """ffprobe's packets of the files written one after the other, as a player gets them.

    The position of a packet tells which file it comes from.
    """

    def feed(pipe):
        try:
            for path in files:
                with open(path, "rb") as stream:
                    while chunk := stream.read(1 << 20):
                        pipe.write(chunk)
        except OSError:
            pass  # ffprobe has stopped reading and says itself why.
        finally:
            try:
                pipe.close()
            except OSError:
                pass

    output = run_tool(
        ["ffprobe", "-v", "error", "-protocol_whitelist", "pipe", "-format_whitelist", "mov,mp4", "-f", "mp4",
         "-show_entries", "packet=pts_time,dts_time,duration_time,size,pos,flags", "-of", "json", "pipe:0"],
        timeout, feed=feed)
    return json.loads(output).get("packets", [])
