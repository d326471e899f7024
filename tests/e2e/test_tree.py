"""The checks of the tree can fail: a small tree with one fault of each kind, and each is found."""

import os
import pathlib
import subprocess

from lab.cases import Case

SCRIPT = pathlib.Path(os.environ.get("VNXTEST_SOURCE", pathlib.Path(__file__).parents[2])) / "script"


class IncludeCheck(Case):
    def test_each_fault_is_found(self):
        for files, wanted in (
                ({"wrenlib/a.h": "#include <string>\n", "core/b.cpp": '#include "wrenlib/a.h"\n',
                  "wrenlib/c_windows.cpp": "#ifdef _WIN32\n#endif\n"}, None),
                ({"core/a.h": '#include "ping/b.h"\n', "ping/b.h": ""}, "core/ (floor"),
                ({"ping/a.h": '#include "settings/b.h"\n', "settings/b.h": ""}, "ping/ (floor"),
                ({"ui/a.h": '#include "cli/b.h"\n', "cli/b.h": ""}, "must not include cli/"),
                ({"core/a.h": '#include "core/b.h"\n', "core/b.h": '#include "core/a.h"\n'}, "circle of files"),
                ({"core/a.h": '#include "hostnet/b.h"\n', "hostnet/b.h": '#include "core/c.h"\n', "core/c.h": ""}, "circle of rooms"),
                ({"core/a.h": '#include "core/nothing.h"\n'}, "is no file under src/"),
                ({"attic/a.h": ""}, "is no room"),
                ({"core/a.cpp": "#include <wx/string.h>\n"}, "wx headers"),
                ({"core/a.cpp": "#if defined(_WIN32)\n#endif\n"}, "asks for the platform"),
                ({"vnetx/a.cpp": "#ifdef __linux__\n#endif\n"}, "asks for the platform"),
                ({"core/a.cpp": "int a;\n" * 701}, "longer than 700 lines")):
            with self.subTest(wanted=wanted):
                root = self.scratch()
                for name, text in files.items():
                    path = root / "src" / name
                    path.parent.mkdir(parents=True, exist_ok=True)
                    path.write_text(text, encoding="utf-8")
                done = subprocess.run(["python3", "-B", SCRIPT / "check-includes", root], capture_output=True, text=True)
                self.assertEqual(done.returncode, 1 if wanted else 0, done.stdout)
                self.assertIn(wanted or "", done.stdout)
