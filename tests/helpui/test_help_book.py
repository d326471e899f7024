#!/usr/bin/env python3
"""The help book as it lies in the tree: every topic of the program, every link and every picture is there, every
page can be reached, what the menu and the report's boxes name is in it, each command with its key, each control of
a dialog has a text, the documents' links lead to files, and the helper alone is given rights: test_help_book.py BOOK SOURCES."""

import html
import pathlib
import re
import sys

book, sources = map(pathlib.Path, sys.argv[1:])
files = {path.name: path.read_text(errors="replace") for path in book.iterdir() if path.is_file()}
tables = "\n".join(path.read_text() for room in ("helpui", "ui") for path in sorted((sources / room).rglob("*.*"))
                   if path.suffix in (".cpp", ".h"))
contents, index = files["vnxtest.hhc"], files["vnxtest.hhk"]
faults = []


def expect(true, text):
    if not true:
        faults.append(text)


def check_link(origin, link):
    page, _, place = link.partition("#")
    target = files.get(page or origin)
    expect(target is not None and (not place or f'<a name="{place}">' in target), f"{origin} leads to {link}")
    return page or origin


reached = {"index.html"}
waiting = ["index.html"]
while waiting:
    name = waiting.pop()
    for link in re.findall(r'(?:href|src)="([^"]*)"', files.get(name, "")):
        page = check_link(name, link)
        if page not in reached:
            reached.add(page)
            waiting.append(page)
for name, text in files.items():
    if name.endswith((".html", ".gif")):
        expect(name in reached, f"{name} cannot be reached from the first page")
    if name.endswith(".html"):
        expect(f'value="{name}"' in contents, f"{name} is not in the contents")
        expect(re.findall("<title>(.*)</title>", text) == re.findall("<h2>(.*)</h2>", text), f"{name} has two titles")
        for command in re.findall("setcap[^<\n]*", text):
            expect(command.rstrip().endswith("+ep FOLDER/vnxtest-open"), f"{name} gives rights to a program: {command}")
for origin, text, pattern in (("contents", contents, 'name="Local" value="([^"]*)"'),
                              ("index", index, 'name="Local" value="([^"]*)"'),
                              ("topics", tables, r'\{\d+, "([^"]*)"\}')):
    links = re.findall(pattern, text)
    expect(len(links) > 20, f"only {len(links)} links of the {origin}")
    for link in links:
        check_link(origin, link)
topics, texts = re.findall(r'\{(\d+), "([^"]*)"\}', tables), re.findall(r'\},\s*(\d+),\s*L"', tables)
expect(len(texts) > 30, f"only {len(texts)} texts")
for number in (number for number in set(texts) if texts.count(number) > 1):
    faults.append(f"text {number} is there twice")
for number in {number for number, page in topics if (number, page) != next(each for each in topics if each[0] == number)}:
    faults.append(f"topic {number} is two pages")
for name in ("Packet driver and modules", "Host adapters", "Promiscuous mode and wireless adapters",
             "Large Segment Offload", "Troubleshooting", "Interface libraries"):
    expect(f'value="{name}"' in contents, f"{name}, which the report names, is not in the contents")
findings = re.findall(r'^    \{"([a-z-]+)", Severity::', (sources / "advice" / "advice.cpp").read_text(), re.M)
expect(len(findings) > 1, f"only {len(findings)} findings")
for finding in findings:
    check_link("advice", f"advice.html#{finding}")

commands, keys = html.unescape(files["menu_commands.html"]), html.unescape(files["keys.html"])
items = re.findall(r'Item\{\w+, "((?:\\.|[^"\\])*)",\s*"', (sources / "ui/frame/menus.cpp").read_text())
expect(len(items) > 30, f"only {len(items)} items of menus")
for item in items:
    label, _, key = re.sub(r"\\(?!t)", "", item).replace("&", "").partition(r"\t")
    # What stands in the chart's own menu has its key behind it.
    own = re.fullmatch(r"(.*) \((.)\)", label)
    expect(own or f"<b>{label}</b>" in commands, f"{label} is not on the page of the commands")
    expect(not key or re.search(rf"\b{re.escape(key)}(?=[,<])", keys), f"{label}: {key} is not on the page of the keys")
    expect(not own or f"<tr><td>{own[2]}" in keys or f" {own[2]}, wheel<" in keys, f"{label} is not on the page of the keys")
indexed = re.findall('name="Local" value="([^"]*)"', index)
for paragraph in re.findall("<p>(<a name=.*?)</p>", commands, re.S):
    ways = [f"menu_commands.html#{name}" for name in re.findall('<a name="([^"]*)"', paragraph)]
    expect(set(ways + re.findall('href="([^"]*)"', paragraph)) & set(indexed), f"the index does not lead to {ways}")
for path in sorted((sources / "ui").rglob("*.cpp")):
    text = path.read_text()
    numbers = re.search(r"^namespace ids \{$(.*?)^\}", text, re.M | re.S)
    explained = re.findall(r"ids::\w+", " ".join(re.findall(r"^    \{\{(ids::[^}]*)\}", text, re.M)))
    for number in re.findall(r"int (k\w+)", numbers[1] if numbers else ""):
        expect(f"ids::{number}" in explained, f"{path.name}: {number} has no text that explains it")
for document in (sources.parent / "README.md", *(sources.parent / "docs").glob("*.md")):
    for link in re.findall(r"\]\(([^)#:]+)", document.read_text()):
        expect((document.parent / link).exists(), f"{document.name} leads to {link}")
sys.exit("\n".join(faults) or 0)
