"""Listening and answering on a veth end with raw sockets, and tshark's opinion of what was heard."""

import socket
import struct
import subprocess
import threading
import time

from . import frames

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
        self._changed = threading.Condition()
        self._heard = []  # (time, frame)
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
        with self._changed:
            return [frame for _, frame in self._heard]

    def wait_for(self, wanted, timeout=5.0):
        """The first frame (ever heard) for which wanted(frame) holds, or None when none comes in time."""
        deadline = time.monotonic() + timeout
        seen = 0
        with self._changed:
            while True:
                for _, frame in self._heard[seen:]:
                    if wanted(frame):
                        return frame
                seen = len(self._heard)
                left = deadline - time.monotonic()
                if left <= 0:
                    return None
                self._changed.wait(left)

    def echoes(self, kind):
        return [echo for echo in map(frames.parse_echo, self.heard()) if echo and echo.kind == kind]

    def _listen(self):
        while not self._closing:
            try:
                frame, address = self._socket.recvfrom(65535 + 14)
            except TimeoutError:
                continue
            except OSError as error:
                self.fault = error
                return
            if address[2] == OUTGOING:
                continue
            with self._changed:
                self._heard.append((time.time(), frame))
                self._changed.notify_all()
            if self._on_frame:
                try:
                    self._on_frame(self, frame)
                except Exception as error:  # shown by the test, on its own thread
                    self.fault = error
                    return

    def write_pcap(self, path):
        with self._changed, open(path, "wb") as file:
            file.write(struct.pack("=IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 1))
            for when, frame in self._heard:
                file.write(struct.pack("=IIII", int(when), int(when % 1 * 1e6), len(frame), len(frame)) + frame)


class EchoResponder:
    """Makes a station a host: answers ARP for `address`, and echo requests as `answers` decides.

    `answers(echo, number)` gives, for the number-th request (from 1), the replies as a list of
    (seconds to wait, keyword arguments for frames.ipv4).
    """

    def __init__(self, namespace, interface, address, answers=None):
        self.address = address
        self._answers = answers or (lambda echo, number: [(0, {})])
        self._timers = []
        self._requests = 0
        self.replies_sent = 0
        self.station = Station(namespace, interface, self._on_frame)

    def close(self):
        for timer in self._timers:
            timer.cancel()
            timer.join()
        self.station.close()

    def _on_frame(self, station, frame):
        question = frames.parse_arp(frame)
        if question and question.operation == 1 and question.target_ip == self.address:
            answer = frames.arp(2, station.mac, self.address, question.sender_mac, question.sender_ip)
            station.send(frames.ethernet(question.sender_mac, station.mac, frames.ARP, answer))
        echo = frames.parse_echo(frame)
        if echo and echo.kind == frames.ECHO_REQUEST and echo.destination == self.address:
            self._requests += 1
            for delay, options in self._answers(echo, self._requests):
                message = frames.icmp(frames.ECHO_REPLY, echo.identifier, echo.sequence, echo.data)
                packet = frames.ipv4(self.address, echo.source, message, **options)
                reply = frames.ethernet(echo.source_mac, station.mac, frames.IPV4, packet)
                self._send_later(delay, reply)

    def _send_later(self, delay, reply):
        def send():
            self.station.send(reply)
            self.replies_sent += 1

        if delay == 0:
            send()
            return
        timer = threading.Timer(delay, send)
        self._timers.append(timer)
        timer.start()


# What tshark says of sound frames too: it sees one end of the wire only.
_HARMLESS = ("No response seen to ICMP request",)


def faults_by_tshark(station, source_mac, path):
    """Validates every frame with this source address, checksums too; returns (frames, list of faults)."""
    station.write_pcap(path)
    fields = ("frame.number", "frame.protocols", "ip.checksum.status", "icmp.checksum.status", "frame.len", "ip.len",
              "_ws.malformed", "_ws.expert.message")
    command = ["tshark", "-n", "-r", str(path), "-o", "ip.check_checksum:TRUE", "-Y", f"eth.src == {source_mac}",
               "-T", "fields", "-E", "separator=|", "-E", "aggregator=;"]
    for field in fields:
        command += ["-e", field]
    output = subprocess.run(command, check=True, capture_output=True, text=True, timeout=60).stdout
    faults, count = [], 0
    for line in output.splitlines():
        count += 1
        values = dict(zip(fields, line.split("|")))
        if "ip" in values["frame.protocols"].split(":"):
            if values["ip.checksum.status"] != "1":
                faults.append(f"IP checksum: {line}")
            if values["icmp.checksum.status"] != "1":
                faults.append(f"ICMP checksum: {line}")
            if int(values["frame.len"]) != max(14 + int(values["ip.len"]), 0) and int(values["frame.len"]) != 60:
                faults.append(f"length: {line}")
        elif "arp" not in values["frame.protocols"].split(":"):
            faults.append(f"neither ARP nor IPv4: {line}")
        remarks = [text for text in values["_ws.expert.message"].split(";")
                   if text and not text.startswith(_HARMLESS)]
        if values["_ws.malformed"] or remarks:
            faults.append(f"{values['_ws.malformed']} {remarks}: {line}")
    return count, faults
