#!/usr/bin/env python3
"""The memory of vnxtest-cli while a long document goes through it: pings without delay on the simulated LAN, for a
while and for ten times as long. Prints the most that was resident, what each line from the tenth to the whole has
added (a document that is passed on costs nothing each line), and the processor time of a line, ping and reply included.
"""

import argparse
import os
import subprocess
import sys
import tempfile

ECHO_HOST = "198.18.0.2"


def measure(program, seconds):
    """(lines of the document, bytes of it, most bytes resident, processor seconds)."""
    with tempfile.TemporaryFile() as document:
        process = subprocess.Popen([program, "ping", ECHO_HOST, "--library", "sim", "--no-report", "--count", "0", "--delay", "0",
                                    "--size", "8", "--duration", str(seconds)], stdout=document, stderr=subprocess.DEVNULL)
        status, usage = os.wait4(process.pid, 0)[1:]
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode not in (0, 1):  # from the 65,537th ping on replies count for earlier ones
            raise SystemExit(f"{program}: status {process.returncode}")
        size = document.tell()
        document.seek(0)
        return sum(1 for _ in document), size, usage.ru_maxrss * 1024, usage.ru_utime + usage.ru_stime


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", help="vnxtest-cli")
    parser.add_argument("--seconds", type=float, default=20, help="of the longer run")
    options = parser.parse_args()
    tenth, whole = (measure(os.path.abspath(options.program), seconds) for seconds in (options.seconds / 10, options.seconds))
    for lines, size, resident, processor in (tenth, whole):
        print(f"{lines:,} lines, {size / 1e6:.1f} MB: at most {resident / 1024:.0f} KiB resident, {processor / lines * 1e6:.2f} us "
              "of a processor each")
    print(f"a line from the tenth to the whole: {(whole[2] - tenth[2]) / (whole[0] - tenth[0]):.2f} bytes")


if __name__ == "__main__":
    sys.exit(main())
