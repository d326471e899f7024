"""--capture: the guest's own frames in a pcapng file, read by tshark and capinfos and compared with the wire."""

import collections
import json
import os
import re
import signal
import struct
import subprocess
import threading
import time

from cases import GUEST_IP, GUEST_MAC, PEER_IP, Case, NetworkCase, ping_statistics, timeout
from frames import ECHO_REPLY, ECHO_REQUEST, ethernet, icmp, ipv4, mac_bytes, parse_arp
from lab.network import die_with_parent

INBOUND, OUTBOUND = "0x00000001", "0x00000002"

Block = collections.namedtuple("Block", "interface direction comment dropped info")


def tshark(path, *options):
    return subprocess.run(["tshark", "-n", "-r", path, *map(str, options)], capture_output=True, text=True, timeout=120)


class Reading:
    """What the readers find in a capture."""

    def need_readers(self):
        for name in ("tshark", "capinfos"):
            self.need_program(name)

    def blocks(self, path, cut=False):
        """Every frame of a file that nobody complains about; `cut`: but that its end may be missing."""
        fields = ("frame.interface_name", "frame.packet_flags_direction", "frame.comment", "frame.drop_count", "_ws.col.Info")
        done = tshark(path, "-T", "fields", "-E", "separator=|", *(word for field in fields for word in ("-e", field)))
        complaints = [line for line in done.stderr.splitlines() if "Running as user" not in line]
        if cut and complaints:
            self.assertRegex(complaints[0], "cut short in the middle of a packet")
        else:
            self.assertEqual((done.returncode, complaints), (0, []))
            about = subprocess.run(["capinfos", path], capture_output=True, text=True, timeout=60)
            self.assertEqual((about.returncode, about.stderr), (0, ""))
        return [Block(*line.split("|", 4)) for line in done.stdout.splitlines()]

    def about(self, path):
        return subprocess.run(["capinfos", path], capture_output=True, text=True, timeout=60).stdout


def packets(path):
    """The frames of a pcap file."""
    data = path.read_bytes()
    at, found = 24, []
    while at < len(data):
        length = struct.unpack_from("<I", data, at + 8)[0]
        found.append(data[at + 16:at + 16 + length])
        at += 16 + length
    return found


class Verdicts(Reading, Case):
    def test_a_ping_test_of_two_interfaces(self):
        """Requests, replies, late ones; an interface of each kind, with its own counts."""
        self.need_readers()
        path = self.scratch() / "both.pcapng"
        guest = self.run_program("ping", "198.18.0.2", "--library", "sim:late=40,seed=3", "--mode", "tap", "--mode2", "tun",
                                 "--count", 12, "--delay", 20, "--timeout", 100, "--no-report", "--capture", path)
        self.assertIn(guest.status, (0, 1), guest.story())
        self.assertEqual(path.stat().st_mode & 0o777, 0o600)
        blocks = self.blocks(path)
        self.assertEqual([block.comment for block in blocks if block.direction == OUTBOUND and "ping #" in block.comment],
                         [f"ping #{number} to 198.18.0.2" for number in range(1, 13)])
        replies = [block.comment for block in blocks if block.direction == INBOUND and "reply" in block.comment]
        late = [text for text in replies if re.fullmatch(r"reply to ping #\d+ of 198\.18\.0\.2, \d+ (us|ms), \d+ (us|ms) late", text)]
        counted = ping_statistics(guest.text())
        self.assertEqual((len(replies), len(late)), (counted["received"], counted["timeouts"]), guest.story())
        self.assertGreater(len(late), 0)
        about = self.about(path)
        for wanted in ("Number of interfaces in file: 2", "Encapsulation = Ethernet", "Encapsulation = Raw IP",
                       "Capture application: VNXTest", "Speed = 1000000000", "Number of stat entries = 1",
                       f"Number of packets:   {len(blocks)}"):
            self.assertIn(wanted, about)

    def test_standard_output_carries_it_alone(self):
        self.need_readers()
        folder = self.scratch()
        refused = self.run_program("run", "--library", "sim", "--capture", "-")
        self.assert_refused(refused, "standard output already carries the document; add -q, which leaves that out, or --output FILE")
        with open(folder / "piped.pcapng", "wb") as output:
            guest = self.run_program("ping", "198.18.0.2", "--library", "sim", "--count", 2, "--capture", "-", "--output",
                                     folder / "document.txt", "--json", folder / "results.json", output=output)
        self.assertEqual((guest.status, len(self.blocks(folder / "piped.pcapng"))), (0, 4), guest.errors())
        results = json.loads((folder / "results.json").read_text(encoding="utf-8"))
        self.assertEqual(results["capture"], {"file": "-", "frames": 4, "dropped": 0, "complete": True})
        self.assertIn("Ping test", (folder / "document.txt").read_text(encoding="utf-8"))

    def test_a_pipe_that_nobody_reads(self):
        """The guest does not wait for it. At the end the program does, and says so; an interrupt ends that."""
        folder = self.scratch()
        os.mkfifo(folder / "pipe")
        reader = os.open(folder / "pipe", os.O_RDONLY | os.O_NONBLOCK)
        self.addCleanup(os.close, reader)
        guest = self.start("ping", "198.18.0.2", "--library", "sim", "--count", 100, "--delay", 1, "--size", 1400, "--no-report", "-q",
                           "--capture", folder / "pipe", "--json", folder / "results.json")
        while "note: waiting until the capture is read" not in guest.errors() and not guest.has_ended():
            time.sleep(0.05)
        self.assertEqual(guest.stop()[0], 0, guest.story())
        results = json.loads((folder / "results.json").read_text(encoding="utf-8"))
        self.assertEqual((results["ping"]["statistics"]["received"], results["capture"]["complete"]), (100, False))

    def test_a_file_that_cannot_be_had(self):
        """Refused before the guest starts; what is there stays until the guest does."""
        folder = self.scratch()
        existing = folder / "existing"
        existing.write_text("old", encoding="utf-8")
        common = ("run", "--library", "sim", "--duration", "1", "--no-report")
        for options, wanted in (
                (("--capture", folder / "none" / "file"), r"open of .*none/file failed; errno=2: .*\nName another file: --capture FILE"),
                (("--capture", folder), r"failed; errno=21: "),
                (("--capture", existing, "--json", existing), "--json and --capture name the same file"),
                (("--capture", existing, "--guest-ip", "198.18.9.9"), "proceed")):
            with self.subTest(options=options):
                self.assert_refused(self.run_program(*common, *options), wanted)
        self.assertEqual(existing.read_text(encoding="utf-8"), "old")
        first = self.start("run", "--library", "sim", "--no-report", "--capture", folder / "shared").wait_up()
        self.assert_refused(self.run_program(*common, "--capture", folder / "shared"), "shared is being written by another capture")
        self.assertEqual(first.stop()[0], 0, first.story())
        new = folder / "new"
        self.assertEqual(self.run_program(*common, "--guest-ip", "198.18.9.9", "--capture", new).status, 2)
        self.assertFalse(new.exists(), "an empty file")


class OnTheWire(Reading, NetworkCase):
    def record(self, path):
        """The peer's end of the wire in a pcap file, until the returned function is called."""
        self.need_program("dumpcap")
        process = subprocess.Popen(self.peer.command("dumpcap", "-q", "-P", "-i", "far", "-w", path),
                                   stderr=subprocess.PIPE, text=True, preexec_fn=die_with_parent)
        self.addCleanup(process.kill)
        for line in process.stderr:
            if line.startswith("File:"):
                break

        def end():
            process.send_signal(signal.SIGINT)
            process.communicate(timeout=30)
            return packets(path)

        return end

    def test_it_equals_the_wire_and_says_what_became_of_each_frame(self):
        self.need_readers()
        folder = self.scratch()
        path = folder / "guest.pcapng"
        stop = self.record(folder / "wire.pcap")
        station = self.listen()
        guest = self.run_guest("tap", "--capture", path)
        self.assert_pinged(self.peer, GUEST_IP, 20, "-s", 1000)
        self.peer.run("ping", "-M", "do", "-c", 2, "-i", "0.1", "-W", 1, GUEST_IP)
        self.peer.run("ping", "-M", "dont", "-s", 0, "-c", 1, "-W", 1, GUEST_IP)
        good = ipv4(PEER_IP, GUEST_IP, icmp(ECHO_REQUEST, 1, 1, b"12345678"))
        for packet in (good[:10] + b"\0\0" + good[12:], ipv4(PEER_IP, GUEST_IP, b"\0" * 16, protocol=17),
                       ipv4(PEER_IP, GUEST_IP, icmp(ECHO_REPLY, 1, 1, b"12345678")),
                       ipv4(PEER_IP, GUEST_IP, icmp(ECHO_REQUEST, 1, 1, b"12345678"), flags=0x2000)):
            station.send(ethernet(GUEST_MAC, station.mac, 0x0800, packet))
        station.send(ethernet(GUEST_MAC, station.mac, 0x88B5, b"other" * 10))
        self.assert_pinged(self.peer, GUEST_IP, 1)
        self.assertEqual(guest.stop()[0], 0, guest.story())
        wire = stop()

        verdicts = collections.Counter(block.comment for block in self.blocks(path))
        for comment, count in {"ignored: Fragmented (Don't-Fragment is set)": 2, "ignored: Fragmented (a fragment)": 1,
                               "ignored: Too tiny": 1, "ignored: Bad IP hdr checksum": 1, "ignored: Not ICMP": 1,
                               "ignored: Unknown packet": 1, "a reply to no ping of this test": 1,
                               f"the guest's reply to a ping of {PEER_IP}": 21}.items():
            self.assertEqual(verdicts[comment], count, verdicts)
        self.assertEqual(verdicts["answered"], 21 + verdicts["the guest's ARP reply"])

        def is_librarys(frame):
            """An exchange by which the library looks for the guest's neighbours: the guest has no part in it."""
            question = parse_arp(frame)
            return question and ((question.operation == 1) == (frame[6:12] == mac_bytes(GUEST_MAC)))

        wanted = {INBOUND: [frame for frame in wire if frame[:6] in (mac_bytes(GUEST_MAC), b"\xff" * 6) and not is_librarys(frame)
                            and frame[6:12] == mac_bytes(station.mac)],
                  OUTBOUND: [frame for frame in wire if frame[6:12] == mac_bytes(GUEST_MAC) and not is_librarys(frame)]}
        for direction, frames in wanted.items():
            done = tshark(path, "-Y", f"frame.packet_flags_direction == {direction}", "-F", "pcap", "-w", folder / "one.pcap")
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertGreaterEqual(len(frames), 21)
            self.assertEqual(collections.Counter(packets(folder / "one.pcap")), collections.Counter(frames), direction)

    def flood(self, count, size=1400):
        done = self.peer.run("ping", "-M", "dont", "-n", "-q", "-f", "-l", 32, "-s", size, "-c", count, "-w", 60, GUEST_IP, timeout=120)
        # With a deadline it waits for the last replies, and meanwhile sends more.
        received = re.search(r" (\d+) received", done.stdout)
        self.assertGreaterEqual(int(received[1]) if received else 0, count, f"the guest goes on\n{done.stdout}")

    def test_a_full_disk_ends_the_capture_and_not_the_guest(self):
        self.need_readers()
        folder = self.scratch()
        self.do_or_skip("mount", "-t", "tmpfs", "-o", "size=200k", "none", folder)
        self.addCleanup(subprocess.run, ["umount", folder])
        path = folder / "full.pcapng"
        guest = self.run_guest("tap", "--capture", path)
        for _ in range(3):
            self.flood(500)
        status, _ = guest.stop()
        self.assertEqual(status, 2, guest.story())
        told = re.search(r"The capture has ended before its time: write of .*full\.pcapng failed; errno=28: .*\n"
                         r"Up to there it is whole, (\d+) frames\. The guest goes on\. Choose another place", guest.errors())
        self.assertTrue(told, guest.errors())
        self.assertEqual(len(self.blocks(path)), int(told[1]))
        self.assertGreater(int(told[1]), 50)

    @timeout(180)
    def test_a_slow_reader_costs_the_capture_frames_and_not_the_guest(self):
        self.need_readers()
        folder = self.scratch()
        os.mkfifo(folder / "pipe")
        begin, kept = threading.Event(), folder / "kept.pcapng"

        def read():
            with open(folder / "pipe", "rb") as pipe, open(kept, "wb") as file:
                begin.wait()
                while data := pipe.read(1 << 16):
                    file.write(data)

        reader = threading.Thread(target=read, daemon=True)
        reader.start()
        guest = self.run_guest("tap", "--capture", folder / "pipe")
        self.flood(8000)
        begin.set()
        while not any(int(block.dropped or 0) for block in self.blocks(kept, cut=True)):
            self.flood(100, size=56)
        self.assertEqual(guest.stop()[0], 0, guest.story())
        reader.join(timeout=60)
        dropped = sum(int(block.dropped or 0) for block in self.blocks(kept))
        self.assertIn(f"note: {dropped} frames are missing in the capture, which has {len(self.blocks(kept))}", guest.errors())
        self.assertGreater(dropped, 1000)

    def test_what_was_written_outlives_a_kill(self):
        self.need_readers()
        path = self.scratch() / "killed.pcapng"
        guest = self.run_guest("tap", "--capture", path)
        self.flood(2000, size=56)
        while path.stat().st_size < 2000 * 2 * 100:
            self.flood(10)
        flood = subprocess.Popen(self.peer.command("ping", "-M", "dont", "-q", "-f", "-c", 100000, GUEST_IP),
                                 stdout=subprocess.DEVNULL, preexec_fn=die_with_parent)
        self.addCleanup(flood.wait)
        self.addCleanup(flood.kill)
        self.addCleanup(guest.send_signal, signal.SIGKILL)
        size = path.stat().st_size
        while path.stat().st_size == size:
            pass
        guest.send_signal(signal.SIGKILL)
        self.assertEqual(guest.wait_end(), -signal.SIGKILL)
        self.assertGreaterEqual(len(self.blocks(path, cut=True)), 4000)
