"""The checks of the tree can fail: a small tree with one fault of each kind, and each is found."""

import os
import pathlib
import subprocess

from lab.cases import Case

SCRIPT = pathlib.Path(os.environ.get("VNXTEST_SOURCE", pathlib.Path(__file__).parents[2])) / "script"


class IncludeCheck(Case):
    def check(self, files):
        root = self.scratch()
        for name, text in files.items():
            path = root / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        done = subprocess.run(["python3", "-B", SCRIPT / "check-includes", root], capture_output=True, text=True)
        return done.returncode, done.stdout

    def test_a_sound_tree_passes(self):
        status, text = self.check({"src/wrenlib/a.h": "#include <string>\n", "src/core/b.cpp": '#include "wrenlib/a.h"\n',
                                   "src/wrenlib/c_windows.cpp": "#ifdef _WIN32\n#endif\n"})
        self.assertEqual(status, 0, text)

    def test_each_fault_is_found(self):
        for files, wanted in (
                ({"src/core/a.h": '#include "ping/b.h"\n', "src/ping/b.h": ""}, "core/ (floor"),
                ({"src/ping/a.h": '#include "settings/b.h"\n', "src/settings/b.h": ""}, "ping/ (floor"),
                ({"src/ui/a.h": '#include "cli/b.h"\n', "src/cli/b.h": ""}, "must not include cli/"),
                ({"src/core/a.h": '#include "core/b.h"\n', "src/core/b.h": '#include "core/a.h"\n'}, "circle of files"),
                ({"src/core/a.h": '#include "core/a.h"\n'}, "circle of files"),
                ({"src/core/a.h": '#include "hostnet/b.h"\n', "src/hostnet/b.h": '#include "core/c.h"\n',
                  "src/core/c.h": ""}, "circle of rooms"),
                ({"src/core/a.h": '#include "core/nothing.h"\n'}, "is no file under src/"),
                ({"src/attic/a.h": ""}, "is no room"),
                ({"src/core/a.cpp": "#include <wx/string.h>\n"}, "wx headers"),
                ({"src/core/a.cpp": "#if defined(_WIN32)\n#endif\n"}, "asks for the platform"),
                ({"src/vnetx/a.cpp": "#ifdef __linux__\n#endif\n"}, "asks for the platform"),
                ({"src/core/a.cpp": "int a;\n" * 701}, "longer than 700 lines")):
            with self.subTest(wanted=wanted):
                status, text = self.check(files)
                self.assertEqual(status, 1, text)
                self.assertIn(wanted, text)
