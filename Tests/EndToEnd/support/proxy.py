"""X servers that lack what every real one has."""

import os
import socket
import threading

LARGEST_READ = 65536
MOST_DESCRIPTORS = 16
SOCKET = "/tmp/.X11-unix/X{}"
FIRST_NUMBER = 5000


class ServerWithoutExtension:
    """Stands before a server and hides one of its extensions; `display` names it.

    The extension's name is changed in what clients ask for, to one of the same length that no server has.
    """

    def __init__(self, server, extension):
        number = int(server.display.lstrip(":"))
        self.target = SOCKET.format(number)
        self.hidden = extension.encode()
        # The server's number is nobody else's, and no server chooses one as high as this.
        self.display = f":{number + FIRST_NUMBER}"
        self.path = SOCKET.format(number + FIRST_NUMBER)
        if os.path.exists(self.path):
            os.unlink(self.path)
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(self.path)
        self.listener.listen()
        self.sockets = []
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            try:
                client = self.listener.accept()[0]
            except OSError:
                return
            server = socket.socket(socket.AF_UNIX)
            server.connect(self.target)
            self.sockets += [client, server]
            for source, target, is_request in [(client, server, True), (server, client, False)]:
                threading.Thread(target=self.forward, args=(source, target, is_request), daemon=True).start()

    def forward(self, source, target, is_request):
        try:
            while True:
                data, descriptors = socket.recv_fds(source, LARGEST_READ, MOST_DESCRIPTORS)[:2]
                if not data:
                    break
                if is_request:
                    data = data.replace(self.hidden, b"-" * len(self.hidden))
                sent = socket.send_fds(target, [data], descriptors) if descriptors else 0
                target.sendall(data[sent:])
                for descriptor in descriptors:
                    os.close(descriptor)
        except OSError:
            pass
        for end in (source, target):
            try:
                end.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass

    def end(self):
        # A thread that waits in accept() goes on only when the socket is shut down.
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        os.unlink(self.path)
        for end in self.sockets:
            end.close()
