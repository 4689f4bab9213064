"""A recording-upload API in Python, to which a test may give every bad habit that servers have."""

import http.server
import json
import random
import re
import ssl
import subprocess
import threading
import time

KEY = "e2e-access-key"


class UploadServer:
    """Keeps objects in memory. What it does beside its duty is set while it runs:

    `misbehave(request)` may answer a request itself, by calling respond() or by breaking the connection, and then
    returns true. `delay` is slept before each answer, in seconds.
    """

    def __init__(self, certificate=None):
        self.objects = {}
        self.requests = []  # "POST /api/recordings", in the order of their arrival
        self.headers = []  # of the same requests
        self.key_requests = []  # the keys of every "upload-urls" request
        self.recordings = {}
        self.misbehave = lambda request: False
        self.change = lambda name, answer: answer
        self.delay = 0
        self.lock = threading.Lock()
        self.in_flight = 0
        self.most_in_flight = 0
        server = self

        class Handler(Request, http.server.BaseHTTPRequestHandler):
            upload_server = server
            protocol_version = "HTTP/1.1"

        self.http = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.http.daemon_threads = True
        self.http.handle_error = lambda *_: None  # clients that break a connection are part of the tests
        scheme = "http"
        if certificate:
            scheme = "https"
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(certificate.with_suffix(".pem"), certificate.with_suffix(".key"))
            self.http.socket = context.wrap_socket(self.http.socket, server_side=True)
        self.url = f"{scheme}://localhost:{self.http.server_address[1]}"
        self.thread = threading.Thread(target=self.http.serve_forever, args=(0.02,), daemon=True)
        self.thread.start()

    def end(self):
        """Any number of times."""
        if not self.thread.is_alive():
            return
        self.http.shutdown()
        self.http.server_close()
        self.thread.join()

    def object(self, name):
        """The one object whose key ends with /`name`."""
        found = [content for key, content in self.objects.items() if key.endswith("/" + name)]
        assert len(found) == 1, (name, sorted(self.objects))
        return found[0]

    def instructions(self, recording):
        prefix = recording["prefix"]

        def planned(*names):
            return [{"key": f"{prefix}/{name}"} for name in names]

        return {"objectPrefix": prefix, "manifestKey": recording["manifestKey"],
                "allowedSegmentKeyPatterns": {
                    track: {"regex": "^" + re.escape(prefix) + f"/segments/{track}/segment_\\d{{3,}}\\.m4s$"}
                    for track in ("video", "audio")},
                "plannedUploads": {
                    "required": planned("manifest.json", "segments/playlist.m3u8", "segments/video/init.mp4"),
                    "optional": planned("thumbnail.jpg", "events.json", "segments/video/playlist.m3u8",
                                        "segments/audio/init.mp4", "segments/audio/playlist.m3u8")}}


class Request:
    """What the handler of one request does; mixed into http.server's."""

    upload_server = None

    def log_message(self, *_):
        pass

    def respond(self, status, body, **headers):
        data = body if isinstance(body, bytes) else json.dumps(body).encode()
        self.send_response(status)
        self.send_header("Content-Length", str(len(data)))
        for name, value in headers.items():
            self.send_header(name.replace("_", "-"), value)
        self.end_headers()
        self.wfile.write(data)

    def reset(self):
        """Breaks the connection without a word."""
        self.close_connection = True
        self.connection.close()

    def handle_request(self):
        server = self.upload_server
        self.body = self.rfile.read(int(self.headers.get("Content-Length") or 0))
        self.path_only = self.path.split("?")[0]
        with server.lock:
            server.requests.append(f"{self.command} {self.path_only}")
            server.headers.append(dict(self.headers))
            server.in_flight += 1
            server.most_in_flight = max(server.most_in_flight, server.in_flight)
        try:
            time.sleep(server.delay)
            if not server.misbehave(self):
                self.do_duty(server)
        except (BrokenPipeError, ConnectionResetError, OSError):
            self.close_connection = True
        finally:
            with server.lock:
                server.in_flight -= 1

    do_GET = do_POST = do_PUT = handle_request

    def do_duty(self, server):
        if self.command == "PUT":
            with server.lock:
                server.objects[self.path_only[len("/put/"):]] = self.body
            self.respond(200, b"")
        elif self.headers.get("x-glimto-access-key") != KEY:
            self.respond(401, {"error": {"message": "The access key is not known."}})
        elif self.path_only != "/api/recordings" and self.path_only.split("/")[3] not in server.recordings:
            self.respond(404, {"error": {"message": "There is no such recording."}})
        else:
            name = self.path_only.rsplit("/", 1)[1]
            self.respond(200, server.change(name, self.api_answer(server, name)))

    def api_answer(self, server, name):
        if self.path_only == "/api/recordings":
            identifier = json.loads(self.body)["recordingId"]
            recording = server.recordings.setdefault(identifier, {
                "recordingId": identifier, "organizationId": "org", "prefix": f"org/{identifier}",
                "manifestKey": f"org/{identifier}/manifest.json", "state": "uploading"})
            return {"recording": recording, "uploadInstructions": server.instructions(recording)}
        recording = server.recordings[self.path_only.split("/")[3]]
        if name == "upload-urls":
            keys = json.loads(self.body)["keys"]
            server.key_requests.append(keys)
            return {"uploads": [{"key": key, "method": "PUT", "contentType": "application/octet-stream",
                                 "headers": {"Content-Type": "application/octet-stream"},
                                 "url": f"{server.url}/put/{key}?signature=topsecret"} for key in keys]}
        if name == "recording-complete":
            recording["state"] = "uploaded"
            mine = [key for key in server.objects if key.startswith(recording["prefix"] + "/")]
            return {"recording": recording, "checkedObjectCount": len(mine)}
        return {"recording": recording}


def flaky(seed, share=0.5):
    """Refuses, breaks or delays this share of all requests but the first two of a run."""
    chance = random.Random(seed)

    def misbehave(request):
        if request.path_only == "/api/recordings" or chance.random() > share:
            return False
        kind = chance.randrange(3)
        if kind == 0:
            request.respond(500, b"<html>\n<h1>Internal error</h1>\n</html>\n")
        elif kind == 1:
            request.reset()
        else:
            time.sleep(0.3)
            return False
        return True

    return misbehave


def make_certificate(directory, name):
    """A self-signed certificate for localhost: the path of name.pem and name.key without their ends."""
    path = directory / name
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                    "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout",
                    str(path.with_suffix(".key")), "-out", str(path.with_suffix(".pem"))],
                   check=True, capture_output=True, timeout=60)
    return path
