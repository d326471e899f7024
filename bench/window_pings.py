#!/usr/bin/env python3
"""65,535 pings without delay in the real window: how long it takes to answer meanwhile. The program is named by
the environment variable VNXTEST_WINDOW.

A question to the accessibility bus is answered by the user-interface thread, between two events, as a key or a
click would be.
"""

import os
import pathlib
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True

from lab.desktop import Desktop, Program, missing  # noqa: E402


def main():
    if missing():
        print(f"skipped: {missing()}")
        return 77
    with Desktop() as desktop:
        program = Program(desktop, "--library", "sim")
        program.start_guest()
        program.start_ping(Count=65535, Size=8, Delay=0, Timeout=10000)
        chart = next(panel for panel in program.frame.select("panel") if panel.name.startswith("Ping chart"))
        delays, end = [], time.monotonic() + 120
        while time.monotonic() < end and (len(delays) % 20 or "Received 65535" not in chart.name):
            begin = time.monotonic()
            chart.place  # asked anew each time, unlike names
            delays.append((time.monotonic() - begin) * 1000)
            time.sleep(0.003)
        delays.sort()
        print(f"{len(delays)} questions during {program.chart()}: {delays[len(delays) // 2]:.1f} ms (median), "
              f"{delays[len(delays) * 99 // 100]:.1f} ms (p99), {delays[-1]:.1f} ms (longest), "
              f"load of the machine {os.getloadavg()[0]:.1f}")
        program.kill()
    return 0


if __name__ == "__main__":
    sys.exit(main())
