#!/usr/bin/env python3
"""Runs the end-to-end cases one by one, as the test runner asks for them.

run.py --list MODULE        the cases of a module: name, seconds allowed, whether it runs alone
run.py --missing            what this machine lacks for some of the cases, one a line
run.py MODULE CASE          runs one; exit status 0 passed, 1 failed, 77 skipped (the reason is printed)
run.py [MODULE...]          runs all of them, by hand; VNXTEST_CLI names the program
"""

import importlib
import pathlib
import sys
import unittest

SKIPPED = 77
DEFAULT_TIMEOUT = 90

sys.path.insert(0, str(pathlib.Path(__file__).parent))
sys.dont_write_bytecode = True


def cases(module):
    for group in unittest.defaultTestLoader.loadTestsFromModule(importlib.import_module(module)):
        yield from group


def case_name(case):
    return f"{type(case).__name__}.{case._testMethodName}"


def list_cases(module):
    for case in cases(module):
        method = getattr(case, case._testMethodName)
        seconds = getattr(method, "case_timeout", DEFAULT_TIMEOUT)
        print(case_name(case), seconds, int(getattr(method, "case_alone", False)))


def run(chosen):
    result = unittest.TextTestRunner(verbosity=2, stream=sys.stdout).run(unittest.TestSuite(chosen))
    for case, reason in result.skipped:
        print(f"SKIPPED {case_name(case)}: {reason}")
    if not result.wasSuccessful():
        return 1
    return SKIPPED if result.skipped and len(result.skipped) == result.testsRun else 0


def main(arguments):
    if arguments[:1] == ["--list"]:
        list_cases(arguments[1])
        return 0
    if arguments == ["--missing"]:
        from lab import network
        for reason in (network.why_no_namespaces(), network.why_no_tun_device()):
            if reason:
                print(reason)
        return 0
    if len(arguments) == 2 and "." in arguments[1]:
        chosen = [case for case in cases(arguments[0]) if case_name(case) == arguments[1]]
        if not chosen:
            sys.exit(f"there is no case {arguments[1]} in {arguments[0]}")
        return run(chosen)
    modules = arguments or sorted(path.stem for path in pathlib.Path(__file__).parent.glob("test_*.py"))
    return run([case for module in modules for case in cases(module)])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
