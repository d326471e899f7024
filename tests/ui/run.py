#!/usr/bin/env python3
"""Runs the cases of the window one by one, as the test runner asks for them.

run.py --list MODULE   the cases of a module
run.py [MODULE] CASE   runs one; exit status 0 passed, 1 failed, 77 skipped (the reason is printed)

Each case runs in a process of its own, since the accessibility bus of the first one stays for a process's life.
"""

import importlib
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parent))
sys.dont_write_bytecode = True


def cases(module):
    found = unittest.defaultTestLoader.loadTestsFromModule(importlib.import_module(module))
    return {f"{type(case).__name__}.{case._testMethodName}": case for group in found for case in group}


def main(module, name=None):
    if module == "--list":
        print("\n".join(cases(name)))
        return 0
    result = unittest.TextTestRunner(verbosity=2, stream=sys.stdout).run(cases(module)[name])
    for case, reason in result.skipped:
        print(f"SKIPPED {name}: {reason}")
    return 1 if not result.wasSuccessful() else 77 if result.skipped else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
