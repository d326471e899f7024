#!/usr/bin/env python3
"""How busy others keep this machine: figures of a busy one are not kept. Ends with status 1 if it is busy.

Before a measurement the machine is watched while nothing of ours runs. During one, what other processes take is told
apart from our own by descent; time that the hypervisor gave to other machines (steal) is neither's.
"""

import os
import pathlib
import re
import sys
import time

# What others, or the hypervisor, take of one processor, and how many processes of others run or wait for one, beyond
# which a machine counts as busy.
MOST_SHARE, MOST_RUNNING = 0.05, 0.2
WATCHED = 3.0  # seconds
HERTZ = os.sysconf("SC_CLK_TCK")
KERNEL_THREAD = 0x00200000  # PF_KTHREAD: the kernel's work is partly for us


def machine_ticks():
    """(busy, idle, stolen) ticks of all processors since the start."""
    line = pathlib.Path("/proc/stat").read_text(encoding="ascii").splitlines()[0]
    user, nice, system, idle, waiting, hard, soft, stolen = map(int, line.split()[1:9])
    return user + nice + system + hard + soft, idle + waiting, stolen


def others_running():
    """Processes that run or wait for a processor now, without this one."""
    return int(pathlib.Path("/proc/loadavg").read_text(encoding="ascii").split()[3].split("/")[0]) - 1


def pressure():
    """Seconds in which a process waited for a processor, since the start; None where the kernel does not tell."""
    try:
        match = re.search(r"^some .*total=(\d+)", pathlib.Path("/proc/pressure/cpu").read_text(encoding="ascii"), re.M)
    except OSError:
        return None
    return int(match[1]) / 1e6 if match else None


def ticks_of_others():
    """Ticks of all processes that do not descend from this one, with those of their children that have ended."""
    parents, ticks = {}, {}
    for entry in pathlib.Path("/proc").iterdir():
        if not entry.name.isdigit():
            continue
        try:
            fields = (entry / "stat").read_text(encoding="utf-8", errors="replace").rsplit(")", 1)[1].split()
        except OSError:
            continue  # it has ended
        parents[int(entry.name)] = int(fields[1])
        ticks[int(entry.name)] = 0 if int(fields[6]) & KERNEL_THREAD else sum(map(int, fields[11:15]))

    def is_ours(pid):
        while pid in parents and pid != os.getpid():
            pid = parents[pid]
        return pid == os.getpid()

    return sum(count for pid, count in ticks.items() if not is_ours(pid))


def before():
    """Watches the machine while nothing of ours runs: (what was found, why it counts as busy)."""
    busy, idle, stolen = machine_ticks()
    waited, started, running = pressure(), time.monotonic(), []
    while time.monotonic() - started < WATCHED:
        running.append(others_running())
        time.sleep(0.1)
    seconds = time.monotonic() - started
    busy, idle, stolen = (now - then for now, then in zip(machine_ticks(), (busy, idle, stolen)))
    share, steal = busy / HERTZ / seconds, stolen / HERTZ / seconds
    average = sum(running) / len(running)
    load = pathlib.Path("/proc/loadavg").read_text(encoding="ascii").split()[:3]
    found = (f"{WATCHED:.0f} s without us: {share:.2f} processors busy of {os.cpu_count()}, idle {idle / HERTZ / seconds:.2f}, "
             f"stolen {steal:.1%} of one, {average:.1f} processes running or waiting, load averages {' '.join(load)} (ours "
             "among them)")
    busy = reasons(share, steal)
    if average > MOST_RUNNING:
        busy.append(f"{average:.1f} processes of others run or wait")
    if waited is not None:
        waited = (pressure() - waited) / seconds
        found += f", somebody waited for a processor {waited:.1%} of the time"
        if waited > MOST_SHARE:
            busy.append("others wait for processors")
    return found, busy


def reasons(share, steal):
    return ([f"others use {share:.1%} of a processor"] if share > MOST_SHARE else []) + \
           ([f"the hypervisor took away {steal:.1%} of a processor"] if steal > MOST_SHARE else [])


class During:
    """What others took of the processors from now until `end`."""

    def __init__(self):
        self.others, self.stolen, self.started = ticks_of_others(), machine_ticks()[2], time.monotonic()

    def end(self):
        """(What was found, why it counts as busy)."""
        seconds = max(time.monotonic() - self.started, 1 / HERTZ)
        share = max(ticks_of_others() - self.others, 0) / HERTZ / seconds
        steal = (machine_ticks()[2] - self.stolen) / HERTZ / seconds
        return (f"{seconds:.0f} s of measuring: others used {share:.1%} of a processor, stolen {steal:.1%} of one",
                reasons(share, steal))


def say(found, busy):
    print(found)
    if busy:
        print(f"** This machine is busy: {'; '.join(busy)}. Its figures tell nothing of the program.")


if __name__ == "__main__":
    result = before()
    say(*result)
    sys.exit(1 if result[1] else 0)
