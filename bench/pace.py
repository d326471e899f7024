#!/usr/bin/env python3
"""How fast pings without a delay are sent on the simulated LAN, whatever the round trip, and whether every reply was
recorded. With --busy two busy loops run meanwhile.
"""

import argparse
import os
import pathlib
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True

COUNT = 10000
ROUND_TRIPS = (1, 50, 100, 240, 300, 1000)
ECHO_HOST, SILENT = "198.18.0.2", "198.18.0.150"


def moment(lines, words):
    """The stamp of the line with these words, in seconds of the day."""
    hours, minutes, seconds = next(line for line in lines if words in line)[:12].split(":")
    return int(hours) * 3600 + int(minutes) * 60 + float(seconds)


def measure(program, round_trip):
    """Seconds from the first request to the last, and how many pings were lost."""
    library, target = ("sim", SILENT) if round_trip is None else (f"sim:delay={round_trip}", ECHO_HOST)
    with tempfile.TemporaryFile("w+") as document:
        subprocess.run([program, "--library", library, "ping", target, "--no-report", "--count", str(COUNT), "--delay", "0",
                        "--timeout", "3000"], stdout=document, stderr=subprocess.DEVNULL, check=False, timeout=120)
        document.seek(0)
        lines = document.read().splitlines()
    lost = int(next(line for line in lines if " Pings Lost (" in line).split()[1])
    return (moment(lines, f"Sending ping #{COUNT} ") - moment(lines, "Sending ping #1 ")) % 86400, lost


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("program", help="vnxtest-cli")
    parser.add_argument("--busy", action="store_true")
    arguments = parser.parse_args()
    loops = [subprocess.Popen([sys.executable, "-c", "while True: pass"]) for _ in range(2 if arguments.busy else 0)]
    failed = False
    try:
        for round_trip in (*ROUND_TRIPS, None):
            seconds, lost = measure(os.path.abspath(arguments.program), round_trip)
            wanted = 0.5 + 2 * (round_trip or 0) / 1000
            failed = failed or lost != (COUNT if round_trip is None else 0)
            name = "no answer" if round_trip is None else f"{round_trip} ms round trip"
            print(f"{name}: {COUNT} pings sent in {seconds:.2f} s (aimed at: {wanted:.2f} s), {lost} lost")
    finally:
        for loop in loops:
            loop.kill()
            loop.wait()
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
