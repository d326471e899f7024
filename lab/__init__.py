"""The laboratory that the tests, bench/ and script/ share: network namespaces, vnxtest-cli as a process, and a
display of its own for the window. Whose import path has the root of the tree gets it by `from lab import ...`."""
