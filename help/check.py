#!/usr/bin/env python3
"""Checks the help file: check.py FILE. Well-formed, complete in itself, and every reference leads somewhere."""
import html.parser
import re
import sys

VOID = {"meta", "br", "hr", "img", "link", "input"}


class Page(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.open, self.ids, self.references, self.faults = [], [], [], []

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        if "id" in values:
            self.ids.append(values["id"])
        for name in ("href", "src"):
            if name in values:
                self.references.append(values[name])
        if tag not in VOID:
            self.open.append(tag)

    def handle_startendtag(self, tag, attributes):
        self.handle_starttag(tag, attributes)
        if tag not in VOID:
            self.open.pop()

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.faults.append(f"line {self.getpos()[0]}: </{tag}> closes nothing")


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        text = file.read()
    page = Page()
    page.feed(text)
    page.close()
    faults = page.faults + [f"<{tag}> is not closed" for tag in page.open]
    faults += [f"id {name} is not unique" for name in set(page.ids) if page.ids.count(name) > 1]
    for reference in page.references:
        if not reference.startswith("#"):
            faults.append(f"{reference} is outside the page")
        elif reference[1:] not in page.ids:
            faults.append(f"{reference} leads nowhere")
    sections = [name for name in page.ids if f'<h2 id="{name}"' in text]
    faults += [f"{name} is missing in the contents" for name in sections if f"#{name}" not in page.references]
    if not text.startswith("<!DOCTYPE html>"):
        faults.append("no web page by its first line")
    if re.search(r"@\w+@", text):
        faults.append("a name between @ was not replaced")
    for fault in faults:
        print(fault)
    return 1 if faults or not sections else 0


sys.exit(main())
