#!/usr/bin/env python3
"""Uploads of takes beside curl's own parallel mode, on this machine and to the same server.

    benchmark_upload.py [--binary build/glimto-capture] [--runs 3]

Both send the same files, six at a time, and are run in turn. The server throws the objects away; with a delay it
waits before each answer, as a network would. Times are seconds of the clock and of the client's CPU, medians.
"""

import argparse
import asyncio
import hashlib
import json
import multiprocessing
import os
import resource
import statistics
import subprocess
import tempfile
import time
from pathlib import Path

KEY = "benchmark"
CASES = (("200 x 2 MB", 200, 2_000_000, 0.0), ("2000 x 10 kB", 2000, 10_000, 0.0),
         ("200 x 2 MB, 50 ms", 200, 2_000_000, 0.05), ("2000 x 10 kB, 50 ms", 2000, 10_000, 0.05))


class Sink(asyncio.Protocol):
    """One connection: reads requests, drops objects, answers the API."""

    delay = 0.0
    port = 0

    def connection_made(self, transport):
        self.transport = transport
        self.data = bytearray()
        self.left = 0  # bytes of an object that are still to come

    def data_received(self, data):
        if self.left > len(data):
            self.left -= len(data)
            return
        self.data += data[self.left:]
        if self.left:
            self.left = 0
            self.answer(b"")
        while (end := self.data.find(b"\r\n\r\n")) >= 0:
            head = bytes(self.data[:end])
            length = next((int(line[16:]) for line in head.split(b"\r\n") if line.lower().startswith(b"content-length: ")), 0)
            if head.startswith(b"PUT"):
                rest = len(self.data) - end - 4
                if rest < length:
                    self.data.clear()
                    self.left = length - rest
                    return
                del self.data[:end + 4 + length]
                self.answer(b"")
            elif len(self.data) >= end + 4 + length:
                body = bytes(self.data[end + 4:end + 4 + length])
                del self.data[:end + 4 + length]
                self.answer(self.api(head.split(b" ")[1].decode(), body))
            else:
                return

    def answer(self, body):
        text = b"HTTP/1.1 200 OK\r\nContent-Length: %d\r\n\r\n" % len(body) + body
        if self.delay:
            asyncio.get_running_loop().call_later(self.delay, self.transport.write, text)
        else:
            self.transport.write(text)

    def api(self, path, body):
        recording = {"recordingId": "bench", "organizationId": "o", "prefix": "o/bench", "state": "uploaded",
                     "manifestKey": "o/bench/manifest.json"}
        if path.endswith("/upload-urls"):
            return json.dumps({"uploads": [
                {"key": key, "method": "PUT", "contentType": "video/mp4", "headers": {},
                 "url": f"http://127.0.0.1:{self.port}/put/{key}"} for key in json.loads(body)["keys"]]}).encode()
        if path.endswith("/recording-complete"):
            return json.dumps({"recording": recording, "checkedObjectCount": 0}).encode()
        pattern = {"regex": "^o/bench/segments/video/segment_[0-9]+\\.m4s$"}
        return json.dumps({"recording": recording, "uploadInstructions": {
            "objectPrefix": "o/bench", "manifestKey": "o/bench/manifest.json",
            "allowedSegmentKeyPatterns": {"audio": pattern, "video": pattern},
            "plannedUploads": {"optional": [], "required": [{"key": f"o/bench/{name}"} for name in (
                "manifest.json", "segments/playlist.m3u8", "segments/video/init.mp4")]}}}).encode()


def serve(delay, channel):
    async def run():
        Sink.delay = delay
        server = await asyncio.get_running_loop().create_server(Sink, "127.0.0.1", 0)
        Sink.port = server.sockets[0].getsockname()[1]
        channel.send(Sink.port)
        await server.serve_forever()

    asyncio.run(run())


def make_take(take, port, count, size):
    """A take of `count` segments, as a recording whose upload failed leaves it; returns its segments."""
    video = take / "segments/video"
    video.mkdir(parents=True)
    content = os.urandom(size)
    segments = []
    for index in range(count):
        path = video / f"segment_{index:03d}.m4s"
        path.write_bytes(content)
        segments.append(path)
    (video / "init.mp4").write_bytes(b"x")
    (take / "segments/playlist.m3u8").write_bytes(b"x")
    (take / "manifest.json").write_text(json.dumps({
        "manifestVersion": 1, "createdAt": "", "state": "complete", "initSegmentKey": "segments/video/init.mp4",
        "playlistKey": "segments/playlist.m3u8", "preferredSegmentDuration": 4, "totalDuration": 4 * count,
        "totalBytes": count * size, "notes": [], "video": {"source": "", "codec": "h264", "container": "fmp4",
        "width": 1, "height": 1, "framesPerSecond": 1, "hasAudio": False},
        "segments": [{"index": index, "key": f"segments/video/{path.name}", "duration": 4, "bytes": size}
                     for index, path in enumerate(segments)]}))
    (take / "upload-job.json").write_text(json.dumps({
        "version": 1, "recordingId": "bench", "mode": "upload", "state": "ready", "uploadAttempts": 0,
        "createdAtUnixMs": 0, "apiBaseUrl": f"http://127.0.0.1:{port}",
        "credentialSha256": hashlib.sha256(KEY.encode()).hexdigest()}))
    return segments


def measure(command):
    """Seconds of the clock and of CPU."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    started = time.monotonic()
    subprocess.run([str(word) for word in command], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                   env={**os.environ, "GLIMTO_DESKTOP_ACCESS_KEY": KEY, "no_proxy": "127.0.0.1"})
    elapsed = time.monotonic() - started
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return elapsed, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def compare(binary, runs, directory, count, size, delay):
    channel, far_end = multiprocessing.Pipe()
    server = multiprocessing.Process(target=serve, args=(delay, far_end), daemon=True)
    server.start()
    port = channel.recv()
    take = Path(directory) / "take"
    segments = make_take(take, port, count, size)
    job = (take / "upload-job.json").read_text()
    configuration = Path(directory) / "curl.conf"
    configuration.write_text("".join(
        f'upload-file = "{path}"\nurl = "http://127.0.0.1:{port}/put/{path.name}"\noutput = "/dev/null"\n' for path in segments))
    ours, peers = [], []
    for _ in range(runs):
        (take / "upload-job.json").write_text(job)
        ours.append(measure([binary, "upload", "--dir", take, "--api-base-url", f"http://127.0.0.1:{port}",
                             "--recording-id", "bench"]))
        # Without the header it would wait for "100 Continue" before each object.
        peers.append(measure(["curl", "--silent", "--header", "Expect:", "--parallel", "--parallel-max", "6", "--config",
                              configuration]))
    server.terminate()
    server.join()
    return [statistics.median(values) for values in (*zip(*ours), *zip(*peers))]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--binary", default=Path(__file__).resolve().parents[2] / "build/glimto-capture")
    parser.add_argument("--runs", type=int, default=3)
    options = parser.parse_args()
    print("| objects | ours, s | curl, s | ratio | ours, CPU s | curl, CPU s | ratio |\n|---|---|---|---|---|---|---|")
    for name, count, size, delay in CASES:
        with tempfile.TemporaryDirectory(prefix="glimto-benchmark-") as directory:
            time_, cpu, peer_time, peer_cpu = compare(options.binary, options.runs, directory, count, size, delay)
        print(f"| {name} | {time_:.2f} | {peer_time:.2f} | {time_ / peer_time:.2f} | {cpu:.2f} | {peer_cpu:.2f} "
              f"| {cpu / peer_cpu:.2f} |", flush=True)


if __name__ == "__main__":
    main()
