#!/usr/bin/env python3
"""Runs the cases of the window one by one, as the test runner asks for them.

run.py --list MODULE        the cases of a module: name and seconds allowed
run.py MODULE CASE          runs one; exit status 0 passed, 1 failed, 77 skipped (the reason is printed)
run.py [MODULE...]          runs all of them, by hand; VNXTEST_WINDOW names the program

Each case runs in a process of its own, since the accessibility bus of the first one stays for a process's life.
"""

import importlib
import pathlib
import subprocess
import sys
import unittest

SKIPPED = 77
DEFAULT_TIMEOUT = 180

sys.path.insert(0, str(pathlib.Path(__file__).parent))
sys.dont_write_bytecode = True


def cases(module):
    for group in unittest.defaultTestLoader.loadTestsFromModule(importlib.import_module(module)):
        yield from group


def case_name(case):
    return f"{type(case).__name__}.{case._testMethodName}"


def run(chosen):
    result = unittest.TextTestRunner(verbosity=2, stream=sys.stdout).run(unittest.TestSuite(chosen))
    for case, reason in result.skipped:
        print(f"SKIPPED {case_name(case)}: {reason}")
    if not result.wasSuccessful():
        return 1
    return SKIPPED if result.skipped and len(result.skipped) == result.testsRun else 0


def main(arguments):
    if arguments[:1] == ["--list"]:
        for case in cases(arguments[1]):
            print(case_name(case), getattr(getattr(case, case._testMethodName), "case_timeout", DEFAULT_TIMEOUT))
        return 0
    if len(arguments) == 2 and "." in arguments[1]:
        chosen = [case for case in cases(arguments[0]) if case_name(case) == arguments[1]]
        if not chosen:
            sys.exit(f"there is no case {arguments[1]} in {arguments[0]}")
        return run(chosen)
    modules = arguments or sorted(path.stem for path in pathlib.Path(__file__).parent.glob("test_*.py"))
    results = [subprocess.run([sys.executable, "-B", __file__, module, case_name(case)]).returncode
               for module in modules for case in cases(module)]
    print(f"{len(results)} cases, {results.count(SKIPPED)} skipped, {len(results) - results.count(SKIPPED) - results.count(0)} failed")
    return 0 if set(results) <= {0, SKIPPED} else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
