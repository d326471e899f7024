"""The manual pages: sound, and none of the programs' options, settings and variables is missing or too many."""

import os
import pathlib
import re
import subprocess

from test_terminal import TerminalCase

TREE = pathlib.Path(__file__).parents[2]


class Pages(TerminalCase):
    def setUp(self):
        super().setUp()
        self.folder_of_pages = pathlib.Path(os.environ.get("VNXTEST_MANUAL", "/nowhere"))
        if not self.folder_of_pages.is_dir():
            self.skipTest("needs the target manual_pages")

    def page(self, name):
        """Its source, with ordinary dashes and without changes of the font."""
        return re.sub(r"\\f[BIRP]", "", (self.folder_of_pages / name).read_text("utf-8").replace("\\-", "-"))

    def section(self, name, title):
        return re.search(rf"^\.SH {title}\n(.*?)(?=^\.SH |\Z)", self.page(name), re.M | re.S)[1]

    def entries(self, text):
        """What is described: the words of the headings of paragraphs."""
        return set(re.findall(r"[\w-]+", " ".join(re.findall(r"^\.TP\n(?:\.[BI]R? |\.BI )?(.*)", text, re.M)).replace('"', "")))

    def test_sound(self):
        for program in ("mandoc", "man"):
            self.need_program(program)
        pages = sorted(self.folder_of_pages.iterdir())
        self.assertGreaterEqual(len(pages), 3)
        for page in pages:
            self.assertNotRegex(page.read_text("utf-8"), r"@\w+@")
            for command in (["mandoc", "-T", "lint", page], ["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", page]):
                done = subprocess.run(command, env={**os.environ, "LC_ALL": "C.UTF-8", "MANROFFSEQ": "", "MANWIDTH": "80"}, timeout=60,
                                      stdout=subprocess.DEVNULL if command[0] == "man" else subprocess.PIPE, stderr=subprocess.STDOUT
                                      if command[0] == "mandoc" else subprocess.PIPE, text=True)
                self.assertEqual((done.returncode, done.stdout or "", done.stderr or ""), (0, "", ""), page.name)

    def test_options(self):
        def dashed(words):
            return {word for word in words if word.startswith("-")}

        for program, page in (("vnxtest-cli", "vnxtest-cli.1"), ("vnxtest", "vnxtest.1")):
            if not (self.folder_of_pages / page).exists():
                continue  # a build without the window
            file = os.environ["VNXTEST_CLI" if program == "vnxtest-cli" else "VNXTEST_WINDOW"]
            text = subprocess.run([file, "--help"], env={"COLUMNS": "500"}, capture_output=True, text=True, timeout=20).stdout
            known = dashed(re.findall(r"[\w-]+", " ".join(re.findall(r"^  (-.*?)(?:   |\t|$)", text, re.M))))
            self.assertGreater(len(known), 4, text)
            self.assertEqual(dashed(self.entries(self.section(page, "OPTIONS"))), known)
        page = self.section("vnxtest-cli.1", "OPTIONS")
        self.assertEqual(set(re.findall(r"^\.TP\n(\w+)=", page, re.M)), set(re.findall(r"^  (\w+)=[A-Z]", self.go("ping", "--help").text(), re.M)))

    def test_settings(self):
        """Each name by which the sources read the profile."""
        names = set(re.findall(r'L"(\w+)"', (TREE / "src/settings/profile_names.h").read_text("utf-8")))
        for source in (TREE / "src/ui").rglob("*.cpp"):
            text = source.read_text("utf-8")
            for constant in re.findall(r"(?:Read|Write)(?:Number|Text)\((k\w+)|[pP]lacement\(.*?(k\w+)\)", text):
                names |= set(re.findall(rf'{"".join(constant)} = L"(\w+)"', text))
        self.assertGreaterEqual(names, {"NumPings", "MainFrame", "About", "ReportLimit"})
        self.assertEqual(self.entries(self.section("vnxtest.conf.5", "VALUES")), names)

    def test_variables(self):
        """Of the environment: what the sources ask for, but for the folder of the user and what a shared library is told."""
        asked = set()
        for source in (TREE / "src").rglob("*.cpp"):
            asked |= set(re.findall(r'getenv\("(\w+)"\)', source.read_text("utf-8")))
        self.assertEqual(self.entries(self.section("vnxtest-cli.1", "ENVIRONMENT")), asked - {"HOME", "VNETX_LIBRARY"})
