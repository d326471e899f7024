"""A small laboratory for the real program: namespaces, veth pairs, raw frames, and vnxtest-cli in it."""
