"""Checks a finished take against the media contract; see verify-media-contract.sh."""

import json
import math
import os
import re
import shutil
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import take_boxes
import take_events
import take_files
from take_files import Problem, Take, shown
from take_manifest import PLAYLIST, expected_notes, require_manifest_keys

END_TOLERANCE = 0.05  # seconds between the ends of a take's tracks
RESULTS = ["result.mp4", "result.ffprobe.json", "playlist.ffprobe.json", "verification.json"]


class Report:
    """The checks made so far, in order."""

    def __init__(self):
        self.checks = []

    def add(self, name, expected, found, passed):
        self.checks.append({"name": name, "expected": expected, "found": found, "passed": bool(passed)})

    def equal(self, name, expected, found):
        self.add(name, expected, found, expected == found)

    def near(self, name, expected, found, tolerance):
        self.add(name, f"{expected:.6f} +- {tolerance:.6f} s", f"{found:.6f} s", abs(expected - found) <= tolerance)

    def attempt(self, name, expected, check):
        """Adds what `check` found; a Problem fails the check. Returns whether it passed."""
        try:
            found = check()
        except Problem as problem:
            self.add(name, expected, str(problem), False)
            return False
        self.add(name, expected, found, True)
        return True

    def passed(self):
        return bool(self.checks) and all(check["passed"] for check in self.checks)


class Track:
    """One track as the manifest declares it."""

    def __init__(self, name, init_key, playlist_key, segments, tolerance):
        self.name = name
        self.init_key = init_key
        self.playlist_key = playlist_key
        self.segments = segments
        self.tolerance = tolerance  # seconds; one frame interval
        self.durations = [segment["duration"] for segment in segments]
        self.keys = [segment["key"] for segment in segments]


# The manifest


def check_manifest(report, take):
    """The manifest when it is fit to be followed, else None."""
    loaded = []
    if not report.attempt("manifest is readable", "JSON", lambda: loaded.append(take.json("manifest.json")) or "JSON"):
        return None
    manifest = loaded[0]
    if not report.attempt("manifest keys", "all with valid values", lambda: require_manifest_keys(manifest)):
        return None
    report.equal("manifest notes", expected_notes(manifest), manifest["notes"])
    return manifest


def tracks_of(manifest):
    interval = 1 / manifest["video"]["framesPerSecond"]
    audio = manifest.get("audio")
    video_playlist = "segments/video/playlist.m3u8" if audio else PLAYLIST
    tracks = [Track("video", manifest["initSegmentKey"], video_playlist, manifest["segments"], interval)]
    if audio:
        tracks.append(Track("audio", audio["initSegmentKey"], audio["playlistKey"], manifest["audioSegments"],
                            1024 / audio["sampleRate"]))
    return tracks


# Files and playlists


def check_files(report, take, track):
    """Whether every file of the track is there, inside the take, and made of whole boxes."""
    name = track.name
    wanted = [f"segments/{name}/segment_{at:03d}.m4s" for at in range(len(track.segments))]
    report.equal(f"{name} segment keys", "segment_000.m4s onwards",
                 "segment_000.m4s onwards" if track.keys == wanted else
                 shown(next(key for key, want in zip(track.keys, wanted) if key != want)))
    indexes = [segment["index"] for segment in track.segments]
    report.equal(f"{name} segment indexes", "0 onwards", "0 onwards" if indexes == list(range(len(indexes))) else
                 shown(indexes))

    def structure():
        take_boxes.require_boxes(take.file(track.init_key), [b"ftyp", b"moov"], take_boxes.INIT_BOXES)
        for key in track.keys:
            take_boxes.require_boxes(take.file(key), [b"moof", b"mdat"], take_boxes.SEGMENT_BOXES)
        return f"{len(track.keys)} segments"

    usable = report.attempt(f"{name} files", "all there and whole", structure)
    sizes = []
    for segment in track.segments:
        try:
            sizes.append(take.file(segment["key"]).stat().st_size)
        except Problem:
            sizes.append(None)
    wrong = [f"{shown(segment['key'])}: {size}" for segment, size in zip(track.segments, sizes)
             if size != segment["bytes"]]
    report.add(f"{name} segment sizes", "as in the manifest", "; ".join(wrong[:5]) or "as in the manifest", not wrong)
    directory = take.root / "segments" / name
    there = {path.name for path in directory.glob("segment_*")} if directory.is_dir() else set()
    extra = sorted(there - {Path(key).name for key in track.keys})
    report.add(f"{name} files beside the manifest", "none", shown(extra[:5]) if extra else "none", not extra)
    return usable, sum(size or 0 for size in sizes)


def compare_text(take, key, expected):
    found = take.text(key)
    if found == expected:
        return "exact"
    for at, (line, want) in enumerate(zip(found.split("\n"), expected.split("\n")), 1):
        if line != want:
            raise Problem(f"line {at}: {shown(line)}, expected {shown(want)}")
    raise Problem(f"{len(found.splitlines())} lines, expected {len(expected.splitlines())}")


def check_playlist(report, take, track):
    """Whether players may follow the track's playlist."""
    name = track.name
    beside = os.path.dirname(track.playlist_key)
    uris = {key: os.path.relpath(key, beside) for key in [track.init_key, *track.keys]}
    expected = take_files.media_playlist(uris[track.init_key], [uris[key] for key in track.keys], track.durations)
    report.attempt(f"{name} playlist text", "exact",
                   lambda: compare_text(take, track.playlist_key, expected))
    try:
        text = take.text(track.playlist_key)
    except Problem:
        return False
    extinf = take_files.extinf_durations(text)
    report.equal(f"{name} playlist segments", len(track.segments), len(extinf))
    report.near(f"{name} playlist duration", sum(track.durations), sum(extinf), track.tolerance)
    target = re.search(r"^#EXT-X-TARGETDURATION:([0-9]{1,9})$", text, re.MULTILINE)
    report.equal(f"{name} target duration", max(1, math.ceil(max(track.durations))),
                 int(target.group(1)) if target else "missing")
    # Without its end a playlist is one of a live broadcast, and players wait for more of it.
    ends = text.endswith("\n#EXT-X-ENDLIST\n")
    report.add(f"{name} playlist ends", "#EXT-X-ENDLIST", "#EXT-X-ENDLIST" if ends else "no end", ends)
    return follow_only(report, f"{name} playlist addresses", text, set(uris.values())) and ends


def follow_only(report, name, text, known):
    strange = [uri for uri in take_files.playlist_uris(text) if uri not in known]
    report.add(name, "files of the manifest", shown(strange[0]) if strange else "files of the manifest", not strange)
    return not strange


def check_master(report, take, manifest):
    video = manifest["video"]
    expected = take_files.master_playlist(video["width"], video["height"], video["framesPerSecond"])
    report.attempt("master playlist text", "exact", lambda: compare_text(take, PLAYLIST, expected))
    try:
        text = take.text(PLAYLIST)
    except Problem:
        return False
    return follow_only(report, "master playlist addresses", text, {"video/playlist.m3u8", "audio/playlist.m3u8"})


def check_thumbnail(report, take, video):
    if not os.path.lexists(take.root / "thumbnail.jpg"):
        return
    declared = f"JPEG {video['width']}x{video['height']}"

    def thumbnail():
        path = take.file("thumbnail.jpg")
        width, height = take_files.jpeg_size(path)
        if f"JPEG {width}x{height}" != declared:
            raise Problem(f"JPEG {width}x{height}")
        take_files.run_tool(["ffmpeg", "-nostdin", "-v", "error", "-xerror", "-protocol_whitelist", "file",
                             "-f", "jpeg_pipe", "-i", str(path), "-f", "null", "-"], 60)
        return declared

    report.attempt("thumbnail", declared, thumbnail)


def check_events(report, take, video):
    if not os.path.lexists(take.root / take_events.EVENTS):
        return
    loaded = []
    if not report.attempt("input events keys", "all with valid values",
                          lambda: loaded.append(take_events.load_events(take)) or "all with valid values"):
        return
    display = loaded[0]["display"]
    report.equal("input events picture size", f"{video['width']}x{video['height']}",
                 f"{display['capturePixelWidth']}x{display['capturePixelHeight']}")
    report.attempt("input events clock", "one moment", lambda: take_events.require_clock(loaded[0]["clock"]))
    report.attempt("input events", "in order, within the picture",
                   lambda: take_events.require_events(loaded[0]["events"]))


# Media


def seconds(packet, key):
    try:
        return float(packet[key])
    except (KeyError, TypeError, ValueError):
        raise Problem(f"a packet without {key}") from None


def rising(values):
    return all(later > earlier for earlier, later in zip(values, values[1:]))


def packets_by_segment(take, track, packets):
    """The track's packets, one list a segment; a packet's position tells its file."""
    starts = [take.file(track.init_key).stat().st_size]
    for key in track.keys:
        starts.append(starts[-1] + take.file(key).stat().st_size)
    lists = [[] for _ in track.keys]
    at = 0
    for packet in packets:
        position = seconds(packet, "pos")
        while at + 1 < len(lists) and position >= starts[at + 1]:
            at += 1
        packet["offset"] = int(position) - starts[at]
        lists[at].append(packet)
    empty = [key for key, found in zip(track.keys, lists) if not found]
    if empty:
        raise Problem(f"{empty[0]} holds no frame")
    return lists


def nal_length_size(init):
    at = init.find(b"avcC")  # ISO/IEC 14496-15, 5.3.3.1
    if at < 0 or at + 8 >= len(init):
        raise Problem("the initialization segment has no avcC box")
    return (init[at + 8] & 3) + 1


def has_idr_picture(path, packet, length_size):
    with open(path, "rb") as stream:
        stream.seek(packet["offset"])
        data = stream.read(int(packet["size"]))
    at = 0
    while at + length_size < len(data):
        if data[at + length_size] & 0x1F == 5:
            return True
        at += length_size + int.from_bytes(data[at : at + length_size], "big")
    return False


def require_keyframes(take, track, lists):
    length_size = nal_length_size(take.file(track.init_key).read_bytes()) if track.name == "video" else 0
    for key, packets in zip(track.keys, lists):
        first = packets[0]
        if "K" not in first.get("flags", ""):
            raise Problem(f"{key} does not start with a keyframe")
        if track.name == "video" and not has_idr_picture(take.file(key), first, length_size):
            raise Problem(f"{key} starts with a sync sample that is no IDR picture")
    return "each"


def check_media(report, take, track, packets):
    """What the segments hold, as a player gets them: one after the other behind their initialization segment."""
    name = track.name
    lists = []
    if not report.attempt(f"{name} frames of each segment", "one or more",
                          lambda: lists.extend(packets_by_segment(take, track, packets)) or f"{len(packets)} in all"):
        return
    report.attempt(f"{name} segments start with a keyframe", "each", lambda: require_keyframes(take, track, lists))

    def strictly_rising():
        decode = [seconds(packet, "dts_time") for packet in packets]
        present = sorted(seconds(packet, "pts_time") for packet in packets)
        if not rising(decode) or not rising(present):
            raise Problem("a time stamp is not later than the one before")
        return "strictly"

    if not report.attempt(f"{name} time stamps rise", "strictly", strictly_rising):
        return
    starts = [min(seconds(packet, "pts_time") for packet in found) for found in lists]
    last = max(seconds(packet, "dts_time") for packet in lists[-1])
    try:
        end = last + last_frame_duration(take, track)
    except Problem as problem:
        report.add(f"{name} last frame", "has a duration", str(problem), False)
        return
    check_times(report, track, starts, end)


def last_frame_duration(take, track):
    """Seconds. FFmpeg's tools do not find out how long the last frame of a variable rate lasts."""
    init, segment = (take.file(key).read_bytes() for key in (track.init_key, track.keys[-1]))
    return take_boxes.last_sample_duration(init, segment)


def check_times(report, track, starts, end):
    name = track.name
    wrong = [f"{segment['key']}: {start:.6f}" for segment, start in zip(track.segments, starts)
             if abs(segment.get("earliestPresentationTime", start) - start) > 0.001]
    report.add(f"{name} earliest presentation times", "as in the manifest", "; ".join(wrong[:5]) or
               "as in the manifest", not wrong)
    lengths = [later - start for start, later in zip(starts, [*starts[1:], end])]
    wrong = [f"{segment['key']}: {length:.6f}" for segment, length in zip(track.segments, lengths)
             if abs(segment["duration"] - length) > track.tolerance + 1e-6]
    report.add(f"{name} segment durations", "as in the manifest", "; ".join(wrong[:5]) or "as in the manifest",
               not wrong)
    report.near(f"{name} media duration", sum(track.durations), end - starts[0], track.tolerance + 1e-6)


def check_joined(report, manifest, counts, joined, played):
    """What the joined file and the playlist hold."""
    video = manifest["video"]
    even = (video["width"] + video["width"] % 2, video["height"] + video["height"] % 2)
    stream = stream_of(joined, "video")
    report.equal("video codec", "h264 High yuv420p", " ".join(
        str(stream.get(key, "none")) for key in ("codec_name", "profile", "pix_fmt")))
    report.equal("picture size", f"{even[0]}x{even[1]}", f"{stream.get('width')}x{stream.get('height')}")
    if "audio" in manifest:
        audio = manifest["audio"]
        stream = stream_of(joined, "audio")
        report.equal("audio codec", f"aac {audio['sampleRate']} Hz {audio['channelCount']} channels",
                     f"{stream.get('codec_name')} {stream.get('sample_rate')} Hz {stream.get('channels')} channels")
    kinds = sorted(stream.get("codec_type", "unknown") for stream in joined.get("streams", []))
    report.equal("streams", ["audio", "video"] if "audio" in manifest else ["video"], kinds)
    for name, count in counts.items():
        for label, probe in (("joined", joined), ("played", played)):
            found = sum(packet.get("codec_type") == name for packet in probe.get("packets", []))
            report.equal(f"{name} frames {label}", count, found)
    times = [float(packet["dts_time"]) for packet in joined.get("packets", [])
             if packet.get("codec_type") == "video" and "dts_time" in packet]
    report.add("joined time stamps rise", "strictly", "strictly" if rising(times) else "not", rising(times))
    length = float(stream_of(joined, "video").get("duration", 0))
    report.near("joined duration", manifest["totalDuration"], length, 1 / video["framesPerSecond"] + 1e-6)


def stream_of(probe, kind):
    return next((stream for stream in probe.get("streams", []) if stream.get("codec_type") == kind), {})


def probe_to_file(take, arguments, name, timeout):
    """Writes ffprobe's JSON into the take and returns it."""
    hidden = take.root / f".{name}.{os.getpid()}"
    try:
        with open(hidden, "xb") as stream:
            take_files.run_tool(["ffprobe", "-v", "error", *take_files.SAFE_INPUT, "-show_format", "-show_streams",
                                 "-show_packets", "-of", "json", *arguments], timeout, stdout=stream)
        loaded = json.loads(hidden.read_bytes())
        os.replace(hidden, take.root / name)
        return loaded
    finally:
        hidden.unlink(missing_ok=True)


def join_and_decode(take, video, timeout):
    """Joins the take and decodes it; returns what ffprobe says of the joined file, and the decoder's Problem."""
    hidden = take.root / f".result.mp4.{os.getpid()}"
    last = f"round({last_frame_duration(take, video):.9f}/TB)"
    # Without being told to keep them, it would make both times the decode time.
    keep_end = f"setts=pts=PTS:dts=DTS:duration='if(eq(NEXT_PTS,NOPTS),{last},DURATION)'"
    try:
        take_files.run_tool(["ffmpeg", "-nostdin", "-v", "error", *take_files.SAFE_INPUT, "-i",
                             str(take.root / PLAYLIST), "-map", "0", "-c", "copy", "-bsf:v", keep_end,
                             "-f", "mp4", "-y", str(hidden)], timeout)
        os.replace(hidden, take.root / "result.mp4")
    finally:
        hidden.unlink(missing_ok=True)
    result = str(take.root / "result.mp4")
    probe = probe_to_file(take, [result], "result.ffprobe.json", timeout)
    try:
        take_files.run_tool(["ffmpeg", "-nostdin", "-v", "error", "-xerror", *take_files.SAFE_INPUT, "-i", result,
                             "-map", "0", "-fps_mode", "passthrough", "-enc_time_base:v", "1:90000", "-f", "null", "-"],
                            timeout)
    except Problem as problem:
        return probe, problem
    return probe, None


def check_all_media(report, take, manifest, tracks):
    timeout = 120 + 4 * min(manifest["totalDuration"], 1e6)

    def packets_of(track):
        return take_files.probe_concatenation(
            [take.file(track.init_key), *(take.file(key) for key in track.keys)], timeout)

    with ThreadPoolExecutor(max_workers=2) as pool:
        joining = pool.submit(join_and_decode, take, tracks[0], timeout)
        probing = [pool.submit(packets_of, track) for track in tracks]
        playing = pool.submit(probe_to_file, take, [str(take.root / PLAYLIST)], "playlist.ffprobe.json", timeout)
    counts = {}
    for track, future in zip(tracks, probing):
        def read(future=future, track=track):
            counts[track.name] = len(future.result())
            return f"{counts[track.name]} frames"

        if report.attempt(f"{track.name} segments read one after the other", "frames", read):
            check_media(report, take, track, future.result())
    played = {}
    report.attempt("playlist plays", "without a message", lambda: played.update(playing.result()) or
                   "without a message")
    outcome = []
    if report.attempt("take joins into result.mp4", "without a message", lambda: outcome.extend(joining.result()) or
                      "without a message"):
        joined, decoding = outcome
        check_joined(report, manifest, counts, joined, played)
        report.add("whole take decodes", "without an error", str(decoding or "without an error"), decoding is None)


def verify(take):
    report = Report()
    manifest = check_manifest(report, take)
    if manifest is None:
        return report
    tracks = tracks_of(manifest)
    safe = True
    total_bytes = 0
    for track in tracks:
        usable, size = check_files(report, take, track)
        total_bytes += size
        safe = check_playlist(report, take, track) and usable and safe
    if "audio" in manifest:
        safe = check_master(report, take, manifest) and safe
        report.equal("audio segment count", len(manifest["audioSegments"]), manifest["audio"]["segmentCount"])
        report.near("audio ends with the video", sum(tracks[0].durations), sum(tracks[1].durations), END_TOLERANCE)
    report.equal("total bytes", total_bytes, manifest["totalBytes"])
    report.near("total duration", sum(tracks[0].durations), manifest["totalDuration"], 1e-6)
    check_thumbnail(report, take, manifest["video"])
    check_events(report, take, manifest["video"])
    if safe:
        check_all_media(report, take, manifest, tracks)
    else:
        report.add("media", "readable", "not read: files are missing, damaged or outside of the take", False)
    return report


# The command


def misuse(message):
    print(f"error: {message}", file=sys.stderr)
    return 2


def main(arguments):
    if len(arguments) != 1 or arguments[0] in ("-h", "--help"):
        print("usage: scripts/verify-media-contract.sh <output-dir>", file=sys.stderr)
        return 0 if arguments in (["-h"], ["--help"]) else 2
    directory = arguments[0]
    if not os.path.isdir(directory):
        return misuse(f"{shown(directory)} is not a directory.")
    take = Take(directory)
    if not any(os.path.lexists(take.root / name) for name in ("manifest.json", "segments")):
        return misuse(f"{shown(directory)} is not a take: it has neither manifest.json nor segments.")
    for tool in ("ffmpeg", "ffprobe"):
        if not shutil.which(tool):
            return misuse(f"{tool} is missing; install the package ffmpeg.")
    try:
        for name in RESULTS:
            (take.root / name).unlink(missing_ok=True)
        report = verify(take)
        hidden = take.root / f".verification.json.{os.getpid()}"
        hidden.write_text(json.dumps({"passed": report.passed(), "checks": report.checks}, indent=2) + "\n")
        os.replace(hidden, take.root / "verification.json")
    except OSError as error:
        return misuse(f"Could not write the verification into {shown(directory)}: {take_files.reason(error)}.")
    for check in report.checks:
        print(f"{'PASS' if check['passed'] else 'FAIL'}  {check['name']:<42} {shown(check['found'])}")
    failed = sum(not check["passed"] for check in report.checks)
    print(f"{len(report.checks) - failed} checks hold, {failed} fail: {take.root / 'verification.json'}")
    return 0 if report.passed() else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
