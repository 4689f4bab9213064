"""The development server among hostile pages and clients."""

import json
import re
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path

from support.case import EndToEndCase
from support.dev_server import DEV_SERVER, DevServer

THREADS = 64  # clients that the server serves at the same time
DEEP = "[" * 200_000 + "]" * 200_000


class HostileClientsTests(EndToEndCase):
    def start(self, *options, **more):
        self.store = self.directory / "store"
        return self.started(DevServer(self.store, *options, **more))

    def connect(self, server, limit=30):
        connection = socket.create_connection(("127.0.0.1", server.port), timeout=limit)
        self.addCleanup(connection.close)
        return connection

    def peak_kilobytes(self, server):
        status = Path(f"/proc/{server.pid}/status").read_text()
        return int(re.search(r"VmHWM:\s*(\d+) kB", status)[1])

    def answer_to(self, connection):
        """The first line of the answer; nothing when the server ends the connection."""
        try:
            return connection.recv(1 << 16).split(b"\r\n")[0].decode()
        except ConnectionError:
            return ""

    def test_only_names_of_this_machine_are_answered(self):
        server = self.start()
        for host, status in [("127.evil.example", 403), ("127.0.0.1.evil.example", 403), ("[127.0.0.1]", 403),
                             ("localhost:x", 403), ("[::1", 403), ("192.168.0.1", 403), ("localhost", 200),
                             ("LOCALHOST", 200), ("127.0.0.1:80", 200), ("[::1]:80", 200), (socket.gethostname(), 200)]:
            with self.subTest(host=host):
                self.assertEqual(server.request("GET", "/recordings.json", headers={"Host": host})[0], status)

    def test_a_request_has_one_host_header_which_counts_whole(self):
        server = self.start()
        for hosts, status in [([b"localhost"], "200"), ([], "403"), ([b""], "403"),
                              ([b"localhost", b"evil.example"], "403"), ([b"evil.example", b"localhost"], "403"),
                              ([b"localhost\0.evil.example"], "403"), ([b"127.0.0.1\0"], "403")]:
            with self.subTest(hosts=hosts):
                connection = self.connect(server)
                connection.sendall(b"GET /recordings.json HTTP/1.1\r\n" +
                                   b"".join(b"Host: " + host + b"\r\n" for host in hosts) + b"\r\n")
                self.assertEqual(self.answer_to(connection).split()[1], status)

    def test_a_name_may_be_added(self):
        server = self.start("--host-name", "box.example")
        for host, status in [("box.example:80", 200), ("x.box.example", 403)]:
            self.assertEqual(server.request("GET", "/recordings.json", headers={"Host": host})[0], status)

    def test_pages_of_other_sites_change_nothing(self):
        server = self.start()
        body = json.dumps({"recordingId": "rec"})
        own = {"Host": f"localhost:{server.port}"}
        for origin in ("http://evil.example", "null", "http://localhost:1", f"https://localhost:{server.port}"):
            with self.subTest(origin):
                status, _, answer = server.request("POST", "/api/recordings", body, {**own, "Origin": origin})
                self.assertEqual((status, json.loads(answer)["error"]["message"]),
                                 (403, "A page of another site may change nothing here."))
        self.assertEqual(server.request("GET", "/recordings.json")[2], b'{"recordings":[]}')
        self.assertEqual(server.request("POST", "/api/recordings", body,
                                        {**own, "Origin": f"http://localhost:{server.port}"})[0], 200)
        [url] = server.sign("rec", "thumbnail.jpg")
        self.assertEqual(server.request("PUT", url, b"x", {"Origin": "http://evil.example"})[0], 403)
        self.assertEqual(server.put(url, b"x"), 200)

    def test_deep_nesting_is_refused_in_every_member(self):
        server = self.start()
        server.api("POST", "", {"recordingId": "rec"})
        for path, body in [("", '{"recordingId":%s}'), ("/rec/upload-urls", '{"keys":%s,"expiresIn":300}'),
                           ("/rec/upload-urls", '{"keys":[],"expiresIn":%s}'),
                           ("/rec/recording-complete", '{"x":%s}')]:
            with self.subTest(path + body):
                self.assertIn(server.request("POST", "/api/recordings" + path, body % DEEP)[0], (400, 409))
        self.assertEqual(server.api("GET", "/rec")[0], 200)

    def test_a_deep_manifest_in_the_store_harms_neither_this_start_nor_the_next(self):
        server = self.start()
        server.api("POST", "", {"recordingId": "rec"})
        keys = ["manifest.json", "segments/playlist.m3u8", "segments/video/init.mp4"]
        for manifest in ('{"segments":%s}', '{"segments":[],"audio":%s}', '{"segments":[{"key":%s}]}',
                         '{"segments":[],"video":%s}'):
            with self.subTest(manifest):
                for key, url in zip(keys, server.sign("rec", *keys)):
                    self.assertEqual(server.put(url, (manifest % DEEP if key == keys[0] else "x").encode()), 200)
                self.assertEqual(server.api("POST", "/rec/recording-complete", {})[0], 409)
                self.assertEqual(len(json.loads(server.request("GET", "/recordings.json")[2])["recordings"]), 1)
                self.assertEqual(server.request("GET", "/recordings/rec/details.json")[0], 200)
                server.end()
                server = self.start()

    def test_many_small_values_are_refused_before_they_take_memory(self):
        server = self.start()
        server.api("POST", "", {"recordingId": "rec"})
        body = '{"keys":[' + "{}," * 2_500_000 + '{}],"expiresIn":300}'
        self.assertEqual(server.request("POST", "/api/recordings/rec/upload-urls", body)[0], 400)
        [url] = server.sign("rec", "manifest.json")
        self.assertEqual(server.put(url, b"[" + b"{}," * 5_000_000 + b"{}]"), 200)
        self.assertEqual(server.request("GET", "/recordings.json")[0], 200)
        self.assertLess(self.peak_kilobytes(server), 100_000)

    def test_endless_heads_and_lines_are_refused_and_not_kept(self):
        server = self.start()
        head = b"POST /api/recordings HTTP/1.1\r\nHost: localhost\r\n"
        for name, begin, piece in [("headers", head, b"X: " + b"a" * 1000 + b"\r\n"), ("a header", head + b"X: ", b"a" * 1000),
                                   ("an address", b"GET /", b"a" * 1000),
                                   ("a chunk's length", head + b"Transfer-Encoding: chunked\r\n\r\n", b"0" * 1000),
                                   ("a chunk's extension", head + b"Transfer-Encoding: chunked\r\n\r\n1;", b"a" * 1000)]:
            with self.subTest(name):
                connection = self.connect(server)
                sent = 0
                try:
                    connection.sendall(begin)
                    while sent < 40 << 20:
                        connection.sendall(piece * 100)
                        sent += 100 * len(piece)
                except OSError:
                    pass  # the server has heard enough
                self.assertLess(sent, 40 << 20)
        self.assertLess(self.peak_kilobytes(server), 40_000)
        self.assertEqual(server.request("GET", "/recordings")[0], 200)

    def test_silent_and_dripping_clients_make_room_for_others(self):
        server = self.start()
        server.api("POST", "", {"recordingId": "rec"})
        [url] = server.sign("rec", "thumbnail.jpg")
        target = url.split(str(server.port), 1)[1]
        body = f"PUT {target} HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1000\r\n\r\nx".encode()
        for data in (b"", b"GET /recordings HT", body, b"GET /recordings.json HTTP/1.1\r\nHost: localhost\r\n\r\n"):
            with self.subTest(data[:20]):
                for _ in range(THREADS + 10):
                    self.connect(server).sendall(data)
                self.assertEqual(server.request("GET", "/recordings")[0], 200)
        self.assertEqual(server.put(url, b"whole"), 200)
        server.process.send_signal(signal.SIGTERM)
        self.assertEqual(server.process.wait(10), 0)

    def test_a_client_that_keeps_nobody_waiting_may_take_its_time(self):
        server = self.start()
        connection = self.connect(server)
        for piece in (b"GET /recordings", b".json HTTP/1.1\r\nHost: localhost\r\n", b"\r\n"):
            time.sleep(0.5)
            connection.sendall(piece)
        self.assertEqual(self.answer_to(connection), "HTTP/1.1 200 OK")

    def test_requests_that_are_sent_together_are_answered_in_their_order(self):
        server = self.start()
        connection = self.connect(server)
        request = b"GET %s HTTP/1.1\r\nHost: localhost\r\n%s\r\n"
        connection.sendall(request % (b"/recordings.json", b"") + request % (b"/nothing", b"Connection: close\r\n"))
        answers = b""
        while piece := connection.recv(1 << 16):
            answers += piece
        self.assertEqual(re.findall(rb"HTTP/1.1 (\d+)", answers), [b"200", b"404"])

    def test_the_body_of_a_request_that_takes_none_is_no_request(self):
        server = self.start()
        inner = b"POST /api/recordings HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\n\r\n{}"
        for method in (b"GET", b"HEAD", b"DELETE", b"PATCH", b"OPTIONS"):
            with self.subTest(method):
                connection = self.connect(server)
                connection.sendall(method + b" /recordings.json HTTP/1.1\r\nHost: localhost\r\nContent-Length: %d\r\n\r\n"
                                   % len(inner) + inner)
                while connection.recv(1 << 16):
                    pass
                self.assertEqual(server.request("GET", "/recordings.json")[2], b'{"recordings":[]}')

    def test_a_body_of_uncertain_length_is_refused_and_nothing_after_it_is_read(self):
        server = self.start()
        inner = b"POST /api/recordings HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\n\r\n{}"
        for head in (b"Content-Length: 7\r\nContent-Length: 2", b"Content-Length: 2\r\nContent-Length: 7",
                     b"Content-Length: 7\r\nContent-Length: 7", b"Content-Length: 7, 7", b"Content-Length: +7",
                     b"Content-Length: -7", b"Content-Length: 0x7", b"Content-Length: " + b"9" * 30,
                     b"Transfer-Encoding: chunked\r\nContent-Length: 7", b"Transfer-Encoding: chunked, identity",
                     b"Transfer-Encoding: xchunked", b"Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked"):
            for method in (b"POST /api/recordings", b"PUT /uploads/x", b"GET /recordings.json"):
                with self.subTest(method + b" " + head):
                    connection = self.connect(server)
                    connection.sendall(method + b" HTTP/1.1\r\nHost: localhost\r\n" + head + b"\r\n\r\n" + b'{"x":1}' + inner)
                    answers = b""
                    while piece := connection.recv(1 << 16):
                        answers += piece
                    self.assertEqual(re.findall(rb"HTTP/1.1 (\d+)", answers), [b"400"])
        self.assertEqual(server.request("GET", "/recordings.json")[2], b'{"recordings":[]}')

    def test_a_body_of_no_length_is_not_waited_for(self):
        server = self.start()
        for head in (b"", b"Content-Length:\r\n"):
            with self.subTest(head):
                connection = self.connect(server)
                connection.sendall(b"POST /api/recordings HTTP/1.1\r\nHost: localhost\r\n" + head + b"\r\n")
                self.assertEqual(self.answer_to(connection).split()[1], "400")

    def test_many_clients_may_come_before_one_is_accepted(self):
        server = self.start()
        server.process.send_signal(signal.SIGSTOP)
        try:
            connections = [self.connect(server) for _ in range(50)]
            for connection in connections:
                connection.sendall(b"GET /recordings.json HTTP/1.1\r\nHost: localhost\r\n\r\n")
            time.sleep(0.2)
        finally:
            server.process.send_signal(signal.SIGCONT)
        self.assertEqual({self.answer_to(connection) for connection in connections}, {"HTTP/1.1 200 OK"})

    def test_a_signal_at_any_moment_ends_it(self):
        for delay in (0, 0.002, 0.005, 0.01, 0.02):
            with self.subTest(delay):
                process = subprocess.Popen([DEV_SERVER, "--port", "0", "--dir", self.directory / "store"],
                                           stdout=subprocess.DEVNULL)
                self.addCleanup(process.kill)
                time.sleep(delay)
                process.send_signal(signal.SIGTERM)
                self.assertIn(process.wait(10), (0, -signal.SIGTERM))

    def test_the_player_is_looked_for_beside_the_program_and_not_where_its_name_points(self):
        beside = self.directory / "bin"
        trap = self.work / "trap"
        for folder, script in ((beside, "own"), (trap, "trap")):
            (folder / "web").mkdir(parents=True)
            (folder / "web/hls.min.js").write_text(script)
        shutil.copy(DEV_SERVER, beside / "server")
        shutil.copy(DEV_SERVER, trap / "server")
        for name in (str(trap / "server"), "server", "/nowhere/server"):
            with self.subTest(name):
                server = self.start(program=["bash", "-c", f'exec -a "{name}" "{beside / "server"}" "$@"', "bash"])
                self.assertEqual(server.request("GET", "/web/hls.min.js")[2], b"own")
                server.end()
