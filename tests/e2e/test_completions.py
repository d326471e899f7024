"""The completions of bash, zsh and fish, asked in the real shells."""

import fcntl
import json
import os
import pathlib
import pty
import re
import select
import signal
import struct
import subprocess
import termios
import time

from cases import NetworkCase
from lab import guest
from test_terminal import TerminalCase

ECHO = 'vnxtest-cli() { if [ "$1" = adapters ]; then command vnxtest-cli "$@"; else printf "GOT<%s>\\n" "$*"; fi; }'


class Typist:
    """Somebody at a shell's terminal."""

    def __init__(self, case, *command, environment):
        self.text = ""
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.execvpe(command[0], command, environment)
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 500, 250, 0, 0))
        case.addCleanup(self.end)

    def type(self, text):
        os.write(self.terminal, text.encode())
        return self

    def until(self, pattern):
        """What the pattern finds in what the shell has written since the last time."""
        end = time.monotonic() + 60
        while not (found := re.search(pattern, self.text, re.S)):
            ready, _, _ = select.select([self.terminal], [], [], max(0, end - time.monotonic()))
            if not ready:
                raise AssertionError(f"{pattern!r} is not in {self.text!r}")
            self.text += re.sub(r"\x1b\[[0-9;?]*[A-Za-z]", "", os.read(self.terminal, 65536).decode(errors="replace"))
        self.text = self.text[found.end():]
        return found

    def end(self):
        os.kill(self.process, signal.SIGKILL)
        os.waitpid(self.process, 0)
        os.close(self.terminal)


class Shells:
    """What the cases below have in common."""

    def completions(self, name):
        file = pathlib.Path(os.environ.get("VNXTEST_COMPLETIONS", "/nowhere")) / name
        if not file.exists():
            self.skipTest("needs the target completions")
        return file

    def environment(self):
        folder = pathlib.Path(guest.program()).parent
        return {"PATH": f"{folder}:/usr/sbin:/usr/bin:/sbin:/bin", "HOME": str(self.scratch()), "TERM": "xterm", "LC_ALL": "C.UTF-8"}

    def shell(self, *command, **options):
        self.need_program(command[0])
        done = subprocess.run(command, env=self.environment(), capture_output=True, text=True, timeout=60, **options)
        self.assertEqual((done.returncode, done.stderr), (0, ""), command)
        return done.stdout

    def in_bash(self, line, program="vnxtest-cli", before=(), **options):
        script = 'source "$1"; COMP_LINE=$2 COMP_POINT=${#2}; ' + f"_{program.replace('-', '_')} {program}" + '; printf "%s\\n" "${COMPREPLY[@]}"'
        return set(self.shell(*before, "bash", "--norc", "-uc", script, "bash", self.completions(f"{program}.bash"), line, **options).split("\n")) - {""}

    def in_fish(self, line, program="vnxtest-cli", before=(), **options):
        script = f"source {self.completions(program + '.fish')}; complete -C '{line}'"
        return {one.split("\t")[0] for one in self.shell(*before, "fish", "--no-config", "-c", script, **options).split("\n")} - {""}

    def options(self, *command, program="vnxtest-cli"):
        file = pathlib.Path(guest.program()).with_name(program)
        text = subprocess.run([file, *command, "--help"], env={"COLUMNS": "500"}, capture_output=True, text=True, timeout=20).stdout
        return {word for heading in re.findall(r"^  (-.*?)(?:   |\t|$)", text, re.M) for word in re.findall(r"--?[a-zA-Z][\w-]*", heading)}


class Completions(Shells, TerminalCase):
    def test_options(self):
        """Of each command as in its help, of the window as in the window's, in all three shells."""
        for command in ("report", "adapters", "run", "ping", None):
            known, line = self.options(*filter(None, [command])), " ".join(["vnxtest-cli", *filter(None, [command]), ""])
            self.assertEqual(self.in_bash(line + "-"), known)
            self.assertEqual({one.rstrip("=") for one in self.in_fish(line + "-")}, known)
        if (pathlib.Path(guest.program()).with_name("vnxtest")).exists():
            known = self.options(program="vnxtest")
            for ask in self.in_bash, self.in_fish:
                self.assertEqual(ask("vnxtest -", program="vnxtest"), known)
                self.assertLessEqual({"pcap", "tun", "sim", "auto"}, ask("vnxtest --library ", program="vnxtest"))

    def test_values(self):
        for ask in self.in_bash, self.in_fish:
            self.assertEqual(ask("vnxtest-cli "), {"report", "adapters", "run", "ping"})
            self.assertEqual(ask("vnxtest-cli --output run r"), {"report", "run"})
            self.assertEqual(ask("vnxtest-cli run --mode "), {"tun", "tap"})
            self.assertEqual(ask("vnxtest-cli run --count "), set())
            self.assertEqual(ask("vnxtest-cli run --library sim --adapter 198"), {"198.18.0.1"})
            self.assertLessEqual({"pcap", "tun", "sim", "auto"}, ask("vnxtest-cli run --library "))
        # bash takes what stands behind "=" and ":" for the word, fish the whole.
        for asked, in_bash in (("run --library sim:se", {"seed="}), ("run --library=sim:loss=5,la", {"5,late=", "5,lateby="}),
                               ("run --debug=all,con", {"all,contents"}), ("run --mode=ta", {"tap"})):
            self.assertEqual(self.in_bash(f"vnxtest-cli {asked}"), in_bash)
        self.assertEqual(self.in_fish("vnxtest-cli run --library sim:loss=5,la"), {"sim:loss=5,late=", "sim:loss=5,lateby="})
        self.assertEqual(self.in_fish("vnxtest-cli run --debug=all,con"), {"--debug=all,contents"})
        self.assertIn(r"simulated\ LAN", self.in_bash("vnxtest-cli run --library sim --adapter "))

    def test_keys_in_bash(self):
        self.need_program("bash")
        (self.folder / "frames.pcapng").touch()
        typist = Typist(self, "bash", "--norc", "--noprofile", "-i", environment=self.environment())
        typist.type(f"PS1='$ '; bind 'set bell-style none'; cd {self.folder}; source {self.completions('vnxtest-cli.bash')}; {ECHO}; echo ready-$((1+1))\r")
        typist.until("ready-2")
        typist.type("vnxtest-cli ru\t--library si\t\t\x08\x08\x08sim:lo\t5,see\t7 --capt\tfra\t\r")
        self.assertEqual(typist.until("GOT<(.*?)>")[1], "run --library sim:loss=5,seed=7 --capture frames.pcapng")

    def test_keys_in_zsh(self):
        self.need_program("zsh")
        (self.folder / "frames.pcapng").touch()
        folder = self.completions("_vnxtest-cli").parent
        typist = Typist(self, "zsh", "-f", "-i", environment=self.environment())
        typist.type(f"PS1='$ '; LISTMAX=9999; cd {self.folder}; fpath=({folder} $fpath); autoload -U compinit; compinit -u -D; bindkey -e; {ECHO}; echo ready-$((1+1))\r")
        typist.until("ready-2")
        for keys, wanted in (("ru\t--library sim:lo\t5,see\t7 --capt\tfra\t", "run --library sim:loss=5,seed=7 --capture=frames.pcapng"),
                             ("ru\t--library sim --adapter 198\t --debug=all,con\t", "run --library sim --adapter 198.18.0.1 --debug=all,contents")):
            typist.type(f"vnxtest-cli {keys}\r")
            self.assertEqual(re.sub(" +", " ", typist.until("GOT<(.*?)>")[1]).strip(), wanted)
        for command in ("report", "adapters", "run", "ping"):
            for _ in range(10):  # it lists nothing when what comes next is there already
                typist.type(f"vnxtest-cli {command} -\x04").until(re.escape(f"vnxtest-cli {command} -"))
                listed = typist.type("\x15echo end-$((1+1))\r").until("(.*)end-2")[1]
                found = set(re.findall(r"(?:^|\s)(--?[a-zA-Z][\w-]*)(?==?\s)", listed)) - {"--"}
                if found == self.options(command):
                    break
            self.assertEqual(found, self.options(command), listed)


class Names(Shells, NetworkCase):
    def test_adapters(self):
        """Those of the host, and none is carried out that looks like a command."""
        self.host.ip("link", "add", "dev", "$(>hit)", "type", "veth", "peer", "name", "other")
        before = ["ip", "netns", "exec", self.host.name]
        folder = self.scratch()
        found = json.loads(self.run_program("adapters", "--json", namespace=self.host).text())["adapters"]
        names = {one[key] for one in found for key in ("name", "mac", "ip") if one[key]}
        self.assertLessEqual({"adapter", "$(>hit)", "10.77.0.1"}, names)
        self.assertEqual(self.in_fish("vnxtest-cli run --adapter ", before=before, cwd=folder), names)
        self.assertEqual({one.replace("\\", "") for one in self.in_bash("vnxtest-cli run --adapter ", before=before, cwd=folder)}, names)
        self.assertEqual(list(folder.iterdir()), [])
