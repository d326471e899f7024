#!/usr/bin/env python3
"""Runs the end-to-end cases one by one, as the test runner asks for them.

run.py --list MODULE        the cases of a module: name, seconds allowed, whether it runs alone, label
run.py --missing            what this machine lacks for some of the cases, one a line
run.py MODULE CASE          runs one; exit status 0 passed, 1 failed, 77 skipped (the reason is printed)
run.py [MODULE...]          runs all of them, by hand; VNXTEST_CLI names the program
"""

import importlib
import pathlib
import sys
import unittest

SKIPPED = 77

sys.path.insert(0, str(pathlib.Path(__file__).parent))
sys.dont_write_bytecode = True


def cases(module):
    """The cases of a module by their names."""
    groups = unittest.defaultTestLoader.loadTestsFromModule(importlib.import_module(module))
    return {f"{type(case).__name__}.{case._testMethodName}": case for group in groups for case in group}


def list_cases(module):
    for name, case in cases(module).items():
        method = getattr(case, case._testMethodName)
        print(name, getattr(method, "case_timeout", 90), int(getattr(method, "case_alone", False)), case.label)


def run(chosen):
    result = unittest.TextTestRunner(verbosity=2, stream=sys.stdout).run(unittest.TestSuite(chosen))
    for case, reason in result.skipped:
        print(f"SKIPPED {case}: {reason}")
    if not result.wasSuccessful():
        return 1
    return SKIPPED if result.skipped and len(result.skipped) == result.testsRun else 0


def main(arguments):
    if arguments[:1] == ["--list"]:
        return list_cases(arguments[1])
    if arguments == ["--missing"]:
        from lab import network
        for reason in filter(None, (network.why_no_namespaces(), network.why_no_tun_device())):
            print(reason)
        return 0
    if len(arguments) == 2 and "." in arguments[1]:
        return run([cases(arguments[0])[arguments[1]]])
    modules = arguments or sorted(path.stem for path in pathlib.Path(__file__).parent.glob("test_*.py"))
    return run([case for module in modules for case in cases(module).values()])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
