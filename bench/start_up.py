#!/usr/bin/env python3
"""How long a start takes: `vnxtest-cli report` until it ends, with its probes and without a network, and `script/run` on a
built tree; with --window, the window until it is shown and its report is there.
"""

import argparse
import os
import pathlib
import select
import statistics
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True

ROUNDS = 11
RUN = pathlib.Path(__file__).resolve().parent.parent / "script" / "run"


def milliseconds_of(*command):
    started = time.monotonic()
    subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
    return (time.monotonic() - started) * 1000


def said(name, values):
    print(f"{name}: {statistics.median(values):.0f} ms (median of {len(values)}; {min(values):.0f} to {max(values):.0f})", flush=True)


def window_times(desktop, program):
    """Milliseconds until the window can be seen, and until the last line of its report is in it."""
    started = time.monotonic()
    process = subprocess.Popen([program], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                               env=dict(desktop.env, VNXTEST_TRACE="1"))  # each line is told as it is taken over
    lines, shown, last = b"", None, started
    while shown is None or time.monotonic() < last + 1:  # a second without a line: that was all
        if select.select([process.stderr], [], [], 0.005)[0]:
            lines += os.read(process.stderr.fileno(), 1 << 20)
            last = time.monotonic()
        if shown is None and subprocess.run(["xdotool", "search", "--onlyvisible", "--name", " - VNXTest$"],
                                            env=desktop.env, capture_output=True).returncode == 0:
            shown = time.monotonic()
    process.kill()
    process.wait()
    process.stderr.close()
    if b"Detected Adapters" not in lines:
        raise SystemExit(f"the window wrote no report: {lines[-500:]!r}")
    return (shown - started) * 1000, (last - started) * 1000


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", nargs="?", help="vnxtest-cli")
    parser.add_argument("--window", help="vnxtest")
    parser.add_argument("--no-network", action="store_true", help=argparse.SUPPRESS)  # this is in a namespace without one
    options = parser.parse_args()
    if options.no_network:
        said("vnxtest-cli report, without a network", [milliseconds_of(options.program, "report") for _ in range(ROUNDS)])
        return 0
    if options.program:
        said("vnxtest-cli --version", [milliseconds_of(options.program, "--version") for _ in range(ROUNDS)])
        said("vnxtest-cli report, with its probes", [milliseconds_of(options.program, "report") for _ in range(ROUNDS)])
        if os.geteuid() == 0:  # nothing to probe, and no adapter but the loopback
            subprocess.run(["unshare", "--net", sys.executable, "-B", __file__, options.program, "--no-network"], check=True)
        milliseconds_of(RUN, "--version")  # not counted: it may have to build
        said("script/run --version, on a built tree", [milliseconds_of(RUN, "--version") for _ in range(ROUNDS)])
    if options.window:
        from lab.desktop import Desktop, missing
        if missing():
            print(f"skipped: {missing()}")
            return 77
        with Desktop() as desktop:
            times = [window_times(desktop, options.window) for _ in range(ROUNDS)]
        said("window shown", [shown for shown, _ in times])
        said("window with its report", [max(pair) for pair in times])
    return 0


if __name__ == "__main__":
    sys.exit(main())
