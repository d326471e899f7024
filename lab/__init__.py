"""The laboratory that the tests, bench/ and script/ share: network namespaces, vnxtest-cli as a process, and a
display of its own for the window. With the root of the tree in the import path: `from lab import ...`."""
