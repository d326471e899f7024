"""The ping chart by keys, wheel and mouse, against the report beside it."""

import csv
import json
import os
import re
import subprocess
import xml.etree.ElementTree as xml

from cases import DesktopCase


class Chart(DesktopCase):
    arguments = ("--library", "sim:loss=10,late=10,seed=7")

    def setUp(self):
        super().setUp()
        program = self.program
        self.before = program.frame.find("panel", program.chart()).settled_place().height
        program.start_guest()
        program.start_ping(Count=60, Delay=5, Timeout=200)
        program.wait_ping_end()
        program.stop_guest()
        self.text = program.save(self.desktop.path / "report.vnt")

    def reading(self):
        """What is read out of the chart; empty if nothing is."""
        return self.program.chart().partition("; ")[2]

    def test_reading_pings_zooming_and_what_the_report_says(self):
        program, desktop = self.program, self.desktop
        chart = program.frame.find("panel", program.chart())
        place = chart.settled_place()
        self.assertGreater(place.height, 3 * self.before, "it takes little room before the first test")
        lost, percent = re.search(r" (\d+) Pings Lost \((\d+)%\)", self.text).groups()
        self.assertIn(f"Sent 60, Received {60 - int(lost)}, Lost {lost} ({percent}%), ", program.chart())
        timed_out = [int(number) for number in re.findall(r"Ping #(\d+) has timed out", self.text)]
        late = {int(number): int(time) for number, time in
                re.findall(r"Reply to ping #(\d+) .* time=(\d+)ms.* late\)", self.text)}
        self.assertTrue(late and len(timed_out) > len(late) and 1 not in timed_out, self.text)

        desktop.keys("F6")
        self.wait(lambda: chart.focused, "the chart has the focus")
        desktop.keys("Home")
        self.wait(lambda: self.reading().startswith("#1: reply after "), self.reading)
        for number in timed_out:  # from one to the next, with its state and its own time
            desktop.keys("ctrl+Right")
            self.wait(lambda: self.reading().startswith(f"#{number}: "), lambda: f"{number}: {self.reading()}")
            if number in late:
                time = re.fullmatch(rf"#{number}: late reply after ([0-9.]+) ms", self.reading()).group(1)
                self.assertLessEqual(abs(float(time) - late[number]), 2)
            else:
                self.assertEqual(self.reading(), f"#{number}: lost")
        desktop.keys("End", "Left")
        self.wait(lambda: self.reading().startswith("#59: "), self.reading)

        # The wheel zooms where the pointer is.
        middle = place.x + place.width // 2, place.y + place.height // 2
        desktop.xdotool("mousemove", *middle)
        self.wait(lambda: re.match("#(2[5-9]|3[0-5]): ", self.reading()), self.reading)
        number = int(re.match(r"#(\d+)", self.reading()).group(1))
        for _ in range(8):
            desktop.xdotool("click", 4)
        desktop.xdotool("mousemove", middle[0] + place.width // 4, middle[1])
        self.wait(lambda: re.match(f"#({number + 1}|{number + 2}): ", self.reading()), self.reading)
        desktop.xdotool("mousedown", 1)  # dragged to the left: what follows comes into view
        desktop.xdotool("mousemove", middle[0] - place.width // 4, middle[1])
        desktop.xdotool("mouseup", 1)
        desktop.xdotool("mousemove", *middle)
        self.wait(lambda: re.match(f"#({number + 2}|{number + 3}): ", self.reading()), self.reading)
        desktop.keys("0")
        desktop.xdotool("mousemove", middle[0] + 1, middle[1])
        self.wait(lambda: re.match(f"#({number}|{number + 1}): ", self.reading()), self.reading)
        desktop.xdotool("mousemove", 5, 5)
        self.wait(lambda: not self.reading(), "nothing is read out when the pointer is elsewhere")
        desktop.xdotool("mousemove", *middle)
        self.wait(self.reading, "a ping is read out")
        program.choose("t", "Re-detect adapters")
        self.wait(lambda: not self.reading(), "nor when it went there with a menu open")

    def export(self, key, title, name):
        """What is in the file that this command saves."""
        path = self.desktop.path / name
        self.desktop.keys(key)
        self.program.enter_path(title, path)
        self.program.wait_no_dialog()
        self.wait(path.exists, f"{path} is saved")
        return path.read_bytes()

    def test_saving_the_chart_and_exporting_the_test(self):
        """As picture, drawing, table, JSON and text; the JSON is the terminal program's."""
        program, desktop = self.program, self.desktop
        picture = self.export("ctrl+shift+s", "Save chart as", "chart.png")
        self.assertTrue(picture.startswith(b"\x89PNG\r\n") and len(picture) > 4000, picture[:20])
        drawing = xml.fromstring(self.export("ctrl+shift+s", "Save chart as", "chart.svg"))
        self.assertIn("Ping 198.18.0.2", [text.text for text in drawing.iter("{http://www.w3.org/2000/svg}text")])
        table = list(csv.DictReader(self.export("ctrl+shift+s", "Save chart as", "chart.csv").decode().splitlines()))
        result = json.loads(self.export("ctrl+e", "Export last ping test", "test.json"))
        text = self.export("ctrl+e", "Export last ping test", "test.txt").decode()
        states = {True: "lost", False: "reply"}
        self.assertEqual([(row["number"], row["sequence"], row["state"].split()[-1]) for row in table],
                         [(str(ping["number"]), str(ping["sequence"]), states[ping["rttNs"] is None])
                          for ping in result["ping"]["pings"]])
        self.assertEqual([round(float(row["timeMs"]) * 1e6) for row in table if row["timeMs"]],
                         [ping["rttNs"] for ping in result["ping"]["pings"] if ping["rttNs"] is not None])
        self.assertEqual(len(re.findall(r"(?m)^ +\d+ +\d+ .* (?:reply +[0-9.]+ ms|lost)$", text)), 60, text)
        for line in text[text.index(" Ping statistics"):].splitlines()[:9]:
            self.assertIn(line, self.text, "the report has the same statistics")
        # The terminal program's has the same fields, as far as what they hold has fields.
        path = desktop.path / "terminal.json"
        subprocess.run([os.environ["VNXTEST_CLI"], "ping", "198.18.0.2", *self.arguments, "--count", "3", "--delay", "0",
                        "--json", path], env=desktop.env, capture_output=True, timeout=60)
        def shape(value):
            return {key: shape(each) if key != "evidence" else 0 for key, each in value.items()} if isinstance(value, dict) \
                else shape(value[0]) if isinstance(value, list) and value and isinstance(value[0], dict) else 0
        told = json.loads(path.read_text())
        for each in (told, result):
            each["advice"] = []
            each["ping"]["pings"] = each["ping"]["pings"][:1]
        self.assertEqual(shape(result), shape(told))
        self.assertEqual((result["command"], result["exitStatus"], len(result["interfaces"])), ("ping", 1, 1))
        self.assertGreaterEqual(result["interfaces"][0]["statistics"]["packetsWritten"], 60, "the guest has stopped")

        desktop.keys("ctrl+shift+c")
        self.wait(lambda: any("The chart is on the Clipboard" in panel.name for panel in program.frame.select("panel")),
                  lambda: f"it is said: {program.process.poll()} {program.complaints()}")
        script = "import gi; gi.require_version('Gtk', '3.0'); from gi.repository import Gtk, Gdk; " \
                 "print(Gtk.Clipboard.get(Gdk.SELECTION_CLIPBOARD).wait_for_image().get_width(), end='')"
        width = subprocess.run(["/usr/bin/python3", "-c", script], env=desktop.env, capture_output=True, text=True,
                               check=True, timeout=60).stdout
        self.assertGreaterEqual(int(width), 900)
        # What cannot be written is said, and nothing is lost.
        desktop.keys("ctrl+e")
        program.enter_path("Export last ping test", "/proc/test.json")
        self.assertIn("could not be exported", " ".join(label.name for label in program.dialog("VNXTest64UD").select("label")))
        desktop.keys("Return")
        program.wait_no_dialog()
        self.assertEqual(program.complaints(), "")
