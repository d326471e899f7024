#!/usr/bin/env python3
"""Says on which machine this runs: what the figures of a benchmark depend on besides the program."""

import os
import pathlib
import platform
import re
import subprocess

VULNERABILITIES = pathlib.Path("/sys/devices/system/cpu/vulnerabilities")


def lscpu():
    """The fields of lscpu, by name; empty without it."""
    try:
        done = subprocess.run(["lscpu"], capture_output=True, text=True, env=dict(os.environ, LC_ALL="C"))
    except FileNotFoundError:
        return {}
    return {name.strip(): value.strip() for name, _, value in (line.partition(":") for line in done.stdout.splitlines())}


def mitigations():
    """What the kernel does against the processor's faults; those that do not concern it are left out."""
    found = {}
    if VULNERABILITIES.is_dir():
        for path in sorted(VULNERABILITIES.iterdir()):
            try:
                state = path.read_text(encoding="ascii").strip()
            except OSError:
                continue
            if state != "Not affected":
                found[path.name] = state.removeprefix("Mitigation: ")
    return found


def describe():
    """The machine as names and values."""
    fields = lscpu()
    processor = fields.get("Model name") or platform.processor() or platform.machine()
    numbers = [fields[name] for name in ("CPU family", "Model", "Stepping") if name in fields]
    return {
        "processor": processor + (f" (family, model, stepping {'/'.join(numbers)})" if numbers else ""),
        "processors": f"{os.cpu_count()} online, {fields.get('Core(s) per socket', '?')} cores a socket, "
                      f"{fields.get('Thread(s) per core', '?')} threads a core",
        "hypervisor": fields.get("Hypervisor vendor", "none seen"),
        "kernel": platform.release(),
        "mitigations": "; ".join(f"{name}: {state}" for name, state in mitigations().items()) or "none told",
    }


def short(machine):
    """One line that names the machine among those whose figures are kept: all that makes figures another machine's,
    but for updates of its kernel."""
    model = re.sub(r"\((R|TM)\)", "", machine["processor"])
    model = re.sub(r"family, model, stepping (\d+)/(\d+)/(\d+)", r"\1/\2/\3", model)
    kernel = ".".join(machine["kernel"].split(".")[:2])
    where = "" if machine["hypervisor"] == "none seen" else f" under {machine['hypervisor']}"
    return f"{' '.join(model.split())}, {machine['processors'].split()[0]} processors{where}, Linux {kernel}"


def say(machine):
    print(f"On: {short(machine)}")
    for name, value in machine.items():
        print(f"  {name + ':':13} {value}")


if __name__ == "__main__":
    say(describe())
