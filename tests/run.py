#!/usr/bin/env python3
"""Runs the cases of tests/e2e/ and tests/ui/ one by one, as the test runner asks for them.

run.py --list FILE...   the cases of these test_*.py: module, name, seconds allowed, whether it runs alone, label
run.py --missing        what this machine lacks for some of the cases, one a line
run.py FILE [CASE...]   runs these, or all; exit status 0 passed, 1 failed, 77 skipped (the reason is printed).
                        VNXTEST_CLI and VNXTEST_WINDOW name the programs

Each case has a process of its own then: the accessibility bus of the first window stays for a process's life.
"""

import importlib
import pathlib
import sys
import unittest

SKIPPED = 77

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True


def cases(file):
    """The cases of a file by their names."""
    path = pathlib.Path(file).resolve()
    sys.path.insert(0, str(path.parent))
    groups = unittest.defaultTestLoader.loadTestsFromModule(importlib.import_module(path.stem))
    return {f"{type(case).__name__}.{case._testMethodName}": case for group in groups for case in group}


def main(file, *names):
    if file == "--missing":
        from lab import network
        for reason in filter(None, (network.why_no_namespaces(), network.why_no_tun_device())):
            print(reason)
        return 0
    if file == "--list":
        for each in names:
            for title, case in cases(each).items():
                method = getattr(case, case._testMethodName)
                seconds = getattr(method, "case_timeout", case.case_timeout)
                print(pathlib.Path(each).stem, title, seconds, int(getattr(method, "case_alone", False)), case.label)
        return 0
    found = cases(file)
    result = unittest.TextTestRunner(verbosity=2, stream=sys.stdout).run(
        unittest.TestSuite([found[name] for name in names or found]))
    for case, reason in result.skipped:
        print(f"SKIPPED {case}: {reason}")
    return 1 if not result.wasSuccessful() else SKIPPED if result.skipped and len(result.skipped) == result.testsRun else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
