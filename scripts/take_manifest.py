"""The shape of a take's manifest.json: its keys and the values they may have."""

import datetime
import re

from take_files import Problem, shown

PLAYLIST = "segments/playlist.m3u8"
VIDEO_NOTE = "Segments are emitted directly by AVAssetWriter using MPEG4AppleHLS profile."
SOUND_NOTES = {
    None: "Screen video only; audio was not requested.",
    "system": "System audio was captured through ScreenCaptureKit and encoded as AAC.",
    "microphone": "Microphone audio was captured through AVFoundation and encoded as AAC.",
    "system+microphone": "System audio from ScreenCaptureKit and the microphone were mixed into one AAC track.",
}


def expected_notes(manifest):
    return [VIDEO_NOTE, SOUND_NOTES[manifest.get("audio", {}).get("source")]]


def is_integer(value):
    return isinstance(value, int) and not isinstance(value, bool) and 0 <= value < 2**63


def is_number(value):
    return isinstance(value, (int, float)) and not isinstance(value, bool) and 0 <= value < 1e9


def is_text(value):
    return isinstance(value, str)


def is_time_stamp(value):
    if not is_text(value) or not re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z", value):
        return False
    try:
        datetime.datetime.strptime(value, "%Y-%m-%dT%H:%M:%S.%fZ")
    except ValueError:
        return False
    return True


def exactly(wanted):
    return lambda value: type(value) is type(wanted) and value == wanted


def above_zero(test):
    return lambda value: test(value) and value > 0


SEGMENT = {"index": is_integer, "key": is_text, "duration": above_zero(is_number), "bytes": above_zero(is_integer)}
VIDEO = {"source": is_text, "codec": exactly("h264"), "container": exactly("fmp4"), "width": above_zero(is_integer),
         "height": above_zero(is_integer), "framesPerSecond": above_zero(is_integer),
         "hasAudio": lambda value: isinstance(value, bool)}
AUDIO = {"source": lambda value: is_text(value) and value in SOUND_NOTES, "codec": exactly("aac"),
         "sampleRate": above_zero(is_integer), "channelCount": above_zero(is_integer),
         "initSegmentKey": exactly("segments/audio/init.mp4"),
         "playlistKey": exactly("segments/audio/playlist.m3u8"), "segmentCount": is_integer}
MANIFEST = {"manifestVersion": exactly(1), "createdAt": is_time_stamp, "state": exactly("complete"),
            "initSegmentKey": exactly("segments/video/init.mp4"), "playlistKey": exactly(PLAYLIST),
            "preferredSegmentDuration": above_zero(is_number), "totalDuration": is_number, "totalBytes": is_integer,
            "notes": lambda value: isinstance(value, list) and all(is_text(note) for note in value)}


def wrong_keys(value, shape, where):
    if not isinstance(value, dict):
        return [f"{where}: not an object"]
    return [f"{where}{key}: {shown(value[key]) if key in value else 'missing'}"
            for key, right in shape.items() if key not in value or not right(value[key])]


def wrong_segments(value, where):
    if not isinstance(value, list) or not value:
        return [f"{where}: no segments"]
    return [wrong for at, segment in enumerate(value) for wrong in wrong_segment(segment, f"{where}[{at}].")]


def wrong_segment(segment, where):
    wrong = wrong_keys(segment, SEGMENT, where)
    if not wrong and not is_number(segment.get("earliestPresentationTime", 0)):
        wrong.append(f"{where}earliestPresentationTime: {shown(segment['earliestPresentationTime'])}")
    return wrong


def require_manifest_keys(manifest):
    wrong = wrong_keys(manifest, MANIFEST, "")
    if isinstance(manifest, dict):
        wrong += wrong_keys(manifest.get("video"), VIDEO, "video.")
        wrong += wrong_segments(manifest.get("segments"), "segments")
        has_audio = "audio" in manifest
        if has_audio != ("audioSegments" in manifest):
            wrong.append("audio and audioSegments: one without the other")
        elif has_audio:
            wrong += wrong_keys(manifest["audio"], AUDIO, "audio.")
            wrong += wrong_segments(manifest["audioSegments"], "audioSegments")
        if not wrong and manifest["video"]["hasAudio"] != has_audio:
            wrong.append("video.hasAudio disagrees with audio")
    if wrong:
        raise Problem("; ".join(wrong[:5]))
    return f"{len(manifest)} keys"
