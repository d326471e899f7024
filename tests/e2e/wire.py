"""Listening and answering on a veth end with raw sockets, and tshark's opinion of what was heard."""

import socket
import struct
import subprocess
import threading

import frames

OUTGOING = 4  # PACKET_OUTGOING


class Station:
    """A raw station on one interface. Hears every frame that comes in, keeps it, and may answer it.

    `on_frame(station, frame)` is called on the station's own thread.
    """

    def __init__(self, namespace, interface, on_frame=None):
        self.mac = namespace.mac_of(interface)
        self._socket = namespace.packet_socket(interface)
        self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 8 << 20)
        self._socket.settimeout(0.1)
        self._on_frame = on_frame
        self._heard = []
        self._closing = False
        self.fault = None
        self._thread = threading.Thread(target=self._listen, daemon=True)
        self._thread.start()

    def close(self):
        self._closing = True
        self._thread.join()
        self._socket.close()

    def send(self, frame):
        self._socket.send(frame)

    def heard(self):
        return list(self._heard)

    def heard_from(self, mac):
        """The frames of this station, without its probes whether another one has its address (RFC 5227)."""
        return [frame for frame in self.heard() if frame[6:12] == frames.mac_bytes(mac) and not frames.is_probe(frame)]

    def echoes(self, kind):
        return [echo for echo in map(frames.parse_echo, self.heard()) if echo and echo.kind == kind]

    def _listen(self):
        while not self._closing:
            try:
                frame, address = self._socket.recvfrom(65535 + 14)
                if address[2] == OUTGOING:
                    continue
                self._heard.append(frame)
                if self._on_frame:
                    self._on_frame(self, frame)
            except TimeoutError:
                continue
            except Exception as error:  # shown by the test, on its own thread
                self.fault = error
                return


class EchoResponder(Station):
    """A station that is a host: answers ARP for `address`, and echo requests as `answers` decides.

    `answers(reply, number)` gives, for the number-th request (from 1), the replies as a list of (seconds
    to wait, frames.Echo); `reply` is the right one. With a MAC of its own and a network `behind` it, as the
    beginning of addresses, it is that network's gateway.
    """

    def __init__(self, namespace, interface, address, answers=None, mac=None, behind=()):
        self.address = address
        self._addresses = (address, *behind)
        self._answers = answers or (lambda reply, number: [(0, reply)])
        self._timers = []
        self._requests = 0
        self._own_mac = mac
        super().__init__(namespace, interface, EchoResponder._answer)

    def close(self):
        for timer in self._timers:
            timer.cancel()
            timer.join()
        super().close()

    def _answer(self, frame):
        self.mac = self._own_mac or self.mac
        question = frames.parse_arp(frame)
        if question and question.operation == 1 and question.target_ip == self.address:
            answer = frames.arp(2, self.mac, self.address, question.sender_mac, question.sender_ip)
            self.send(frames.ethernet(question.sender_mac, self.mac, frames.ARP, answer))
        echo = frames.parse_echo(frame)
        if not echo or (echo.kind, echo.destination_mac) != (frames.ECHO_REQUEST, self.mac):
            return
        if echo.destination.startswith(self._addresses):
            self._requests += 1
            reply = echo._replace(kind=frames.ECHO_REPLY, source_mac=self.mac, destination_mac=echo.source_mac,
                                  source=echo.destination, destination=echo.source, flags=0)
            for delay, one in self._answers(reply, self._requests):
                self._timers.append(threading.Timer(delay, self.send, [frames.build_echo(one)]))
                self._timers[-1].start()


def faults_by_tshark(heard, source_mac, path):
    """Validates every frame with this source address, checksums too; returns (frames, list of faults)."""
    records = (struct.pack("=IIII", 0, 0, len(frame), len(frame)) + frame for frame in heard)
    path.write_bytes(struct.pack("=IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 1) + b"".join(records))
    fields = ("frame.protocols", "ip.checksum.status", "icmp.checksum.status", "frame.len", "ip.len", "_ws.malformed",
              "_ws.expert.message")
    command = ["tshark", "-n", "-r", path, "-o", "ip.check_checksum:TRUE", "-Y", f"eth.src == {source_mac}", "-T", "fields",
               "-E", "separator=|", "-E", "aggregator=;", *(word for field in fields for word in ("-e", field))]
    lines = subprocess.run(command, check=True, capture_output=True, text=True, timeout=60).stdout.splitlines()
    faults = []
    for line in lines:
        protocols, ip_checksum, icmp_checksum, frame_length, ip_length, malformed, remarks = line.split("|")
        if "ip" in protocols.split(":"):
            lengths = (14 + int(ip_length), 60)  # the second is Ethernet's least
            sound = (ip_checksum, icmp_checksum) == ("1", "1") and int(frame_length) in lengths
        else:
            sound = "arp" in protocols.split(":")
        # tshark sees one end of the wire only.
        remarks = [text for text in remarks.split(";") if text and not text.startswith("No response seen to ICMP request")]
        if not sound or malformed or remarks:
            faults.append(line)
    return len(lines), faults
