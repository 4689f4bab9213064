"""glimto-dev-server, and a client that speaks its API by hand."""

import http.client
import json
import os
import subprocess
import urllib.parse

from support.processes import START_LIMIT, Child, read_line
from support.windows import BINARY

DEV_SERVER = os.environ.get("GLIMTO_DEV_SERVER", str(BINARY.parent / "glimto-dev-server"))
PREFIX = "organizations/local/recordings/"
ANSWER_LIMIT = 60


class DevServer(Child):
    def __init__(self, directory, *options, program=(DEV_SERVER,)):
        super().__init__([*program, "--port", "0", "--dir", directory, *options], stdout=subprocess.PIPE,
                         stderr=subprocess.PIPE)
        self.notice = read_line(self.process.stdout.fileno(), START_LIMIT, "the development server").decode()
        line = read_line(self.process.stdout.fileno(), START_LIMIT, "the development server").decode()
        self.pages = line.removeprefix("Recordings: ")
        self.address = self.pages.removesuffix("/recordings")
        self.port = int(self.address.rsplit(":", 1)[1])

    def log(self):
        """The lines so far; ends the server."""
        self.process.terminate()
        return self.process.communicate(timeout=ANSWER_LIMIT)[0].decode().splitlines()

    def request(self, method, path, body=None, headers=None):
        """Status, headers and body of an answer; `path` may be a whole address."""
        parts = urllib.parse.urlsplit(path)
        target = parts.path + ("?" + parts.query if parts.query else "")
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=ANSWER_LIMIT)
        try:
            connection.request(method, target, body, headers or {})
            answer = connection.getresponse()
            return answer.status, answer.headers, answer.read()
        finally:
            connection.close()

    def api(self, method, path, body=None, headers=None):
        """Status and JSON of an answer of the API."""
        text = None if body is None else json.dumps(body)
        status, _, answer = self.request(method, "/api/recordings" + path, text, headers)
        return status, json.loads(answer)

    def sign(self, recording, *keys, expires_in=300):
        """One signed address for each relative key."""
        full = [PREFIX + recording + "/" + key for key in keys]
        status, answer = self.api("POST", f"/{recording}/upload-urls", {"keys": full, "expiresIn": expires_in})
        if status != 200:
            raise AssertionError(f"upload-urls: {status} {answer}")
        return [upload["url"] for upload in answer["uploads"]]

    def put(self, url, data):
        return self.request("PUT", url, data)[0]

    def receive(self, recording, take):
        """Uploads a whole take by hand and completes it."""
        self.api("POST", "", {"recordingId": recording})
        paths = [path for path in sorted(take.rglob("*")) if path.is_file() and not path.name.startswith(".")]
        keys = [path.relative_to(take).as_posix() for path in paths]
        for path, key, url in zip(paths, keys, self.sign(recording, *keys)):
            data = path.read_bytes()
            if key == "manifest.json":
                data = json.dumps(with_object_keys(json.loads(data), PREFIX + recording + "/")).encode()
            if self.put(url, data) != 200:
                raise AssertionError(f"PUT of {key} was refused")
        return self.api("POST", f"/{recording}/recording-complete", {})


def with_object_keys(value, prefix):
    """A manifest whose keys are those of objects."""
    if isinstance(value, dict):
        return {name: prefix + item if name in ("key", "initSegmentKey", "playlistKey")
                else with_object_keys(item, prefix) for name, item in value.items()}
    if isinstance(value, list):
        return [with_object_keys(item, prefix) for item in value]
    return value
