"""Talks to the helper as the programs do. Run by itself it is an ordinary user with a socket from the helper:
helper_client.py HELPER ADAPTER OTHER_ADAPTER MAC IP prints as JSON what it could do with it and what it could not."""

import errno
import json
import os
import socket
import struct
import subprocess
import sys

MAGIC, VERSION = 0x564E584F, 1
GUEST, ARP, REVERSE_ARP, TUN, TAP = range(1, 6)
RECORD = struct.Struct("=IHBB16s6s2s4s4sII16s")
ANSWER = struct.Struct("=IHBBi20s")
SO_ATTACH_FILTER, SO_DETACH_FILTER, SO_LOCK_FILTER = 26, 27, 44
NOTHING_MAC, NOTHING_IP = "00:00:00:00:00:00", "0.0.0.0"


def record(kind, adapter, mac=NOTHING_MAC, ip=NOTHING_IP, host_end=NOTHING_IP, mtu=0, queue=0, device=""):
    return RECORD.pack(MAGIC, VERSION, kind, 0, adapter.encode(), bytes.fromhex(mac.replace(":", "")), bytes(2),
                       socket.inet_aton(ip), socket.inet_aton(host_end), mtu, queue, device.encode())


def ask(helper, request, prefix=()):
    """(error, refusal, call, descriptor or None, exit status). Without an answer the error is None."""
    ours, its = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    with ours, its:
        process = subprocess.Popen([*prefix, helper], stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env={},
                                   preexec_fn=lambda: os.dup2(its.fileno(), 3), pass_fds=(3,))
        its.close()
        ours.settimeout(10)
        ours.send(request)
        answer, descriptors, _, _ = socket.recv_fds(ours, 100, 4)
        status = process.wait(10)
    assert len(descriptors) < 2
    if not answer:
        return None, None, None, None, status
    magic, version, refusal, reserved, error, call = ANSWER.unpack(answer)
    assert (magic, version, reserved) == (MAGIC, VERSION, 0)
    assert bool(descriptors) == (error == 0)
    return error, refusal, call.rstrip(b"\0").decode(), descriptors[0] if descriptors else None, status


def attempt(action):
    try:
        action()
        return "done"
    except OSError as fault:
        return errno.errorcode[fault.errno]


def main(helper, adapter, other, mac, ip):
    told = {"uid": os.getuid(), "itself": attempt(lambda: socket.socket(socket.AF_PACKET, socket.SOCK_RAW))}
    error, _, _, descriptor, _ = ask(helper, record(GUEST, adapter, mac, ip))
    assert error == 0, (error, errno.errorcode.get(error))
    guest = socket.socket(fileno=descriptor)
    everything = struct.pack("HHI", 6, 0, 0xFFFFFFFF)  # one instruction: the whole frame

    def replace(option):
        import ctypes
        code = ctypes.create_string_buffer(everything)
        program = struct.pack("HxxxxxxP", 1, ctypes.addressof(code))
        guest.setsockopt(socket.SOL_SOCKET, option, program)

    told["replace"] = attempt(lambda: replace(SO_ATTACH_FILTER))
    told["detach"] = attempt(lambda: guest.setsockopt(socket.SOL_SOCKET, SO_DETACH_FILTER, 0))
    told["unlock"] = attempt(lambda: guest.setsockopt(socket.SOL_SOCKET, SO_LOCK_FILTER, 0))
    print("ready", flush=True)
    sys.stdin.readline()  # what was to come in has
    guest.settimeout(0.3)

    def heard():
        frames = []
        try:
            while True:
                frames.append(guest.recv(100)[:14].hex())
        except TimeoutError:
            return frames

    told["heard"] = heard()
    told["bind"] = attempt(lambda: guest.bind((other, 3)))
    print("bound", flush=True)
    sys.stdin.readline()
    told["heard_there"] = heard()
    print(json.dumps(told), flush=True)


if __name__ == "__main__":
    main(*sys.argv[1:])
