"""The development server, spoken to by hand."""

import json
import re
import signal
import socket
import subprocess
import threading
import time
from pathlib import Path

from support.case import EndToEndCase
from support.dev_server import DEV_SERVER, PREFIX, DevServer

LONG = 100_000


class DevServerTests(EndToEndCase):
    def start(self, *options):
        self.store = self.directory / "store"
        return self.started(DevServer(self.store, *options))

    def connect(self, server):
        connection = socket.create_connection(("127.0.0.1", server.port), timeout=30)
        self.addCleanup(connection.close)
        return connection

    def send_and_hang_up(self, server, data):
        """Sends bytes that may be no HTTP at all, and waits until the server has closed the connection."""
        connection = self.connect(server)
        connection.sendall(data)
        connection.shutdown(socket.SHUT_WR)
        while connection.recv(1 << 16):
            pass

    def status_line(self, server, data):
        """The beginning of the server's answer."""
        connection = self.connect(server)
        connection.sendall(data)
        return connection.recv(1 << 16).split(b"\r\n")[0].decode()

    def object_file(self, recording, key):
        return self.store / "objects" / PREFIX / recording / key

    def test_an_object_is_kept_under_its_key(self):
        server = self.start()
        server.api("POST", "", {"recordingId": "rec"})
        [url] = server.sign("rec", "thumbnail.jpg")
        data = bytes(range(256)) * 5000
        self.assertEqual(server.put(url, data), 200)
        self.assertEqual(self.object_file("rec", "thumbnail.jpg").read_bytes(), data)
        status, headers, body = server.request("GET", "/recordings/rec/files/thumbnail.jpg")
        self.assertEqual((status, headers["Content-Type"], body), (200, "image/jpeg", data))
        status, headers, body = server.request("GET", "/recordings/rec/files/thumbnail.jpg", headers={"Range": "bytes=10-19"})
        self.assertEqual((status, headers["Content-Range"], body), (206, f"bytes 10-19/{len(data)}", data[10:20]))

    def test_uploads_are_refused_unless_signed_for_exactly_this(self):
        server = self.start()
        server.api("POST", "", {"recordingId": "rec"})
        [url] = server.sign("rec", "thumbnail.jpg")
        plain, query = url.split("?")
        expiry = int(query.split("&")[0].split("=")[1])
        wrong = {
            "unsigned": plain,
            "tampered": url[:-1] + ("0" if url[-1] != "0" else "1"),
            "another key": url.replace("thumbnail.jpg", "events.json"),
            "another expiry": url.replace(f"expires={expiry}", f"expires={expiry + 1}"),
            "two expiries": url + "&expires=1",
            "outside": url.replace("thumbnail.jpg", "../other/thumbnail.jpg"),
        }
        for name, address in wrong.items():
            with self.subTest(name):
                self.assertEqual(server.put(address, b"x" * LONG), 403)
        self.assertEqual(server.request("POST", url, b"x")[0], 404)
        self.assertEqual(list((self.store / "objects").rglob("*.*")), [])

    def test_an_upload_that_is_cut_off_leaves_nothing(self):
        server = self.start()
        server.api("POST", "", {"recordingId": "rec"})
        [url] = server.sign("rec", "thumbnail.jpg")
        target = url.split(str(server.port), 1)[1]
        self.send_and_hang_up(server, f"PUT {target} HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 1000\r\n\r\n".encode() + b"x" * 500)
        self.assertFalse(self.object_file("rec", "thumbnail.jpg").exists())
        self.assertEqual([path for path in self.store.rglob("*") if path.is_file() and path.name.startswith(".")], [])

    def test_an_access_key_is_asked_for_when_one_is_given(self):
        server = self.start("--access-key", "secret")
        for headers in [{}, {"x-glimto-access-key": "wrong!"}, {"x-glimto-access-key": ""}]:
            status, answer = server.api("POST", "", {"recordingId": "rec"}, headers)
            self.assertEqual((status, answer["error"]["message"]), (401, "The access key is missing or wrong."))
        self.assertEqual(server.api("POST", "", {"recordingId": "rec"}, {"x-glimto-access-key": "secret"})[0], 200)
        self.assertEqual(server.request("GET", "/recordings")[0], 200)

    def test_errors_are_told_as_json(self):
        server = self.start()
        for method, path, body in [("GET", "/nobody", None), ("POST", "", 5), ("POST", "/nobody/upload-urls", {}),
                                   ("POST", "/nobody/recording-complete", {})]:
            status, answer = server.api(method, path, body)
            self.assertGreaterEqual(status, 400)
            self.assertTrue(answer["error"]["message"])

    def test_malformed_and_endless_requests_do_no_harm(self):
        server = self.start()
        host = b" HTTP/1.1\r\nHost: 127.0.0.1\r\n"
        for data, status in [
                (b"GET\r\n\r\n", "400 Bad Request"), (b"GET / HTTP/9.9\r\n\r\n", "400 Bad Request"),
                (b"GET /" + b"a" * LONG + host + b"\r\n", "414 URI Too Long"),
                (b"GET /" + host + b"X: " + b"a" * LONG + b"\r\n\r\n", "400 Bad Request"),
                (b"GET /recordings/../../../etc/passwd" + host + b"\r\n", "404 Not Found"),
                (b"GET /recordings/rec/files/..%2f..%2f..%2fetc/passwd" + host + b"\r\n", "404 Not Found"),
                (b"DELETE /recordings/rec" + host + b"\r\n", "405 Method Not Allowed")]:
            with self.subTest(data[:60]):
                self.assertEqual(self.status_line(server, data), "HTTP/1.1 " + status)
        self.send_and_hang_up(server, b"\0" * 1000)
        self.send_and_hang_up(server, b"POST /api/recordings" + host + b"Content-Length: -5\r\n\r\n{}")
        deep = "[" * LONG
        self.assertEqual(server.request("POST", "/api/recordings", deep)[0], 400)
        self.assertEqual(server.request("POST", "/api/recordings", b" " * (9 << 20))[0], 413)
        self.assertEqual(server.request("GET", "/recordings")[0], 200)

    def test_pages_of_other_sites_cannot_reach_it_by_a_name_of_their_own(self):
        server = self.start()
        for host, status in [("evil.example", 403), ("evil.example:80", 403), ("", 403), ("localhost.evil.example", 403),
                             ("localhost", 200), (f"localhost:{server.port}", 200), ("127.0.0.1", 200)]:
            with self.subTest(host=host):
                self.assertEqual(server.request("GET", "/recordings.json", headers={"Host": host})[0], status)

    def test_bodies_that_nobody_wants_are_not_kept_in_memory(self):
        server = self.start()
        connection = self.connect(server)
        count = 300
        connection.sendall(b"PUT /nowhere HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: %d\r\n\r\n" % (count << 20))
        for _ in range(count):
            connection.sendall(bytes(1 << 20))
        self.assertEqual(connection.recv(1 << 16).split(b"\r\n")[0], b"HTTP/1.1 404 Not Found")
        status = Path(f"/proc/{server.pid}/status").read_text()
        self.assertLess(int(re.search(r"VmHWM:\s*(\d+) kB", status)[1]), 60000)

    def test_body_of_a_refused_request_is_no_request_of_its_own(self):
        server = self.start()
        inner = json.dumps({"recordingId": "smuggled"}).encode()
        inner = b"POST /api/recordings HTTP/1.1\r\nHost: localhost\r\nContent-Length: %d\r\n\r\n" % len(inner) + inner
        for kind in ("text/plain", "multipart/form-data; boundary=x"):
            with self.subTest(kind):
                connection = self.connect(server)
                connection.sendall(f"POST /api/recordings HTTP/1.1\r\nHost: evil.example\r\nContent-Type: {kind}\r\n"
                                   f"Content-Length: {len(inner)}\r\n\r\n".encode())
                time.sleep(0.3)  # until the server has read so far
                connection.sendall(inner)
                answer = connection.recv(1 << 16)
                self.assertRegex(answer.split(b"\r\n")[0].decode(), "^HTTP/1.1 40[03] ")
                time.sleep(0.3)
                self.assertEqual(server.request("GET", "/recordings.json")[2], b'{"recordings":[]}')

    def test_ranges_that_reach_out_of_an_object_get_all_of_it(self):
        server = self.start()
        server.api("POST", "", {"recordingId": "rec"})
        [url] = server.sign("rec", "thumbnail.jpg")
        self.assertEqual(server.put(url, b"0123456789"), 200)
        for value, status, body in [("2-4", 206, b"234"), ("2-", 206, b"23456789"), ("-2", 206, b"89"),
                                    ("5-10", 200, b"0123456789"), ("10-", 200, b"0123456789"),
                                    ("0-1,3-4", 200, b"0123456789"), (",".join(["0-1"] * 1000), 200, b"0123456789")]:
            with self.subTest(value[:10]):
                headers = {"Range": "bytes=" + value}
                answer = server.request("GET", "/recordings/rec/files/thumbnail.jpg", headers=headers)
                self.assertEqual((answer[0], answer[2]), (status, body))
                answer = server.request("HEAD", "/recordings/rec/files/thumbnail.jpg", headers=headers)
                self.assertEqual((answer[0], answer[2]), (status, b""))

    def test_clients_that_say_nothing_do_not_hold_up_others_or_the_end(self):
        server = self.start()
        server.api("POST", "", {"recordingId": "rec"})
        [url] = server.sign("rec", "thumbnail.jpg")
        target = url.split(str(server.port), 1)[1]
        head = f"PUT {target} HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 1000\r\n\r\nx".encode()
        for data in [b"", b"GET /recordings HT", head] * 10:
            self.connect(server).sendall(data)
        self.assertEqual(server.put(url, b"whole"), 200)
        server.process.send_signal(signal.SIGTERM)
        self.assertEqual(server.process.wait(10), 0)
        left = [path.name for path in (self.store / "objects").rglob("*") if path.is_file()]
        self.assertEqual(left, ["thumbnail.jpg"])

    def test_full_disk_is_told_and_leaves_no_half_object(self):
        limited = ["bash", "-c", 'ulimit -f 1; exec "$0" "$@"', DEV_SERVER]  # blocks of 1024 bytes
        server = self.started(DevServer(self.directory / "store", program=limited))
        self.store = self.directory / "store"
        server.api("POST", "", {"recordingId": "rec"})
        [url] = server.sign("rec", "thumbnail.jpg")
        status, _, body = server.request("PUT", url, bytes(LONG))
        self.assertEqual(status, 500)
        self.assertIn("File too large", json.loads(body)["error"]["message"])
        self.assertEqual([path for path in (self.store / "objects").rglob("*") if path.is_file()], [])
        self.assertEqual(server.put(url, b"small"), 200)

    def test_recordings_outlive_the_server(self):
        first = self.start()
        first.api("POST", "", {"recordingId": "rec"})
        first.end()
        second = self.start()
        self.assertEqual(second.api("GET", "/rec")[1]["recording"]["state"], "created")

    def test_many_at_once(self):
        server = self.start()
        statuses = []

        def one(number):
            server.api("POST", "", {"recordingId": f"rec{number}"})
            [url] = server.sign(f"rec{number}", "thumbnail.jpg")
            statuses.append(server.put(url, b"x" * LONG))

        threads = [threading.Thread(target=one, args=(number,)) for number in range(20)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join(60)
        self.assertEqual(statuses, [200] * 20)
        self.assertEqual(len(json.loads(server.request("GET", "/recordings.json")[2])["recordings"]), 20)

    def test_the_log_has_one_line_a_request_and_no_signature(self):
        server = self.start()
        server.api("POST", "", {"recordingId": "rec"})
        [url] = server.sign("rec", "thumbnail.jpg")
        server.put(url, b"x")
        self.assertIn("for development and tests only", server.notice.lower())
        lines = server.log()
        self.assertEqual(lines, ["POST /api/recordings 200", "POST /api/recordings/rec/upload-urls 200",
                                 f"PUT /objects/{PREFIX}rec/thumbnail.jpg 200"])

    def test_a_signal_ends_it_and_bad_options_are_named(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            server = self.start()
            server.process.send_signal(number)
            self.assertEqual(server.process.wait(20), 0)
        taken = self.start()
        for options, message in [(["--port", "x"], "error: --port must be a number from 0 to 65535."),
                                 (["--bogus"], "error: Unknown option '--bogus'. Run `glimto-dev-server --help`."),
                                 (["--port", str(taken.port), "--dir", str(self.store)],
                                  f"error: Could not listen on 127.0.0.1, port {taken.port}. Choose another one with --port.")]:
            done = subprocess.run([DEV_SERVER, *options], capture_output=True, text=True, timeout=30, cwd=self.work)
            self.assertEqual((done.returncode, done.stderr), (1, message + "\n"))
        self.assertTrue(Path(DEV_SERVER).is_file())
