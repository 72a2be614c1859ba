#!/usr/bin/env python3
"""Inspects the reference's page in a browser: tests/reference_page_test.py PAGE.

Chromium shows the page in frames as wide as a phone and as a desktop, in the light and in the dark."""
import json
import os
import re
import subprocess
import sys
import tempfile
from html import escape, unescape

ROOT = os.path.dirname(os.path.dirname(os.path.realpath(__file__)))
OPTIONS = ("--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-sync "
           "--disable-background-networking --disable-component-update --enable-logging=stderr").split()
LOOK = r"""
function look(page) {
  const { document, innerWidth } = page, all = q => [...document.querySelectorAll(q)], faults = [];
  const ids = new Set(all('[id]').map(e => e.id)), styled = e => page.getComputedStyle(e);
  if (ids.size < all('[id]').length) faults.push('an id occurs twice');
  for (const a of all('a'))
    if (!ids.has((a.getAttribute('href') || '').slice(1))) faults.push('no anchor for ' + a.outerHTML);
  if (document.documentElement.scrollWidth > innerWidth)
    faults.push('as wide as ' + document.documentElement.scrollWidth);
  for (const e of page.performance.getEntriesByType('resource')) faults.push('loads ' + e.name);
  all('h1, h2, h3, h4').reduce((level, e) => {
    if (e.tagName[1] - level > 1) faults.push('a level is left out before ' + e.textContent);
    return +e.tagName[1];
  }, 0);
  const light = colour => colour.match(/[\d.]+/g).slice(0, 3).map(v => v / 255)
    .map(v => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4)
    .reduce((sum, v, i) => sum + v * [0.2126, 0.7152, 0.0722][i], 0);
  for (const e of all('body *:not(script)')) {
    let box = e;
    while (styled(box).backgroundColor === 'rgba(0, 0, 0, 0)') box = box.parentElement;
    const [text, back] = [light(styled(e).color), light(styled(box).backgroundColor)];
    if ((Math.max(text, back) + 0.05) / (Math.min(text, back) + 0.05) < 4.5)
      faults.push('weak contrast: ' + e.outerHTML.slice(0, 80));
  }
  const names = q => all(q).map(a => a.textContent)
    .filter((name, i) => document.getElementById(all(q)[i].hash.slice(1))?.textContent === name);
  const [letters, groups] = [names('.letters li a'), names('.groups li a')];
  const field = document.getElementById('filter');
  field.value = 'XOR2';
  field.dispatchEvent(new page.Event('input'));
  const kept = all('li a').filter(a => a.closest('nav') && a.offsetParent).map(a => a.textContent);
  const dark = light(styled(document.body).backgroundColor) < 0.2;
  return { width: innerWidth, dark, faults, letters, groups, kept };
}
addEventListener('load', () => { document.body.textContent = JSON.stringify(Array.from(frames, look)); });
"""


def findings(page, dark):
    """What the browser finds in each frame, and what its console says."""
    frames = "".join(f'<iframe style="width:{width}px; border:0" srcdoc="{escape(page)}"></iframe>'
                     for width in (360, 1280))
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "frames.html")
        with open(path, "w") as file:
            file.write('<!DOCTYPE html><meta charset="utf-8"><meta name="color-scheme" content="light dark">'
                       f"<script>{LOOK}</script>{frames}")
        run = subprocess.run(["chromium", *OPTIONS, f"--user-data-dir={folder}/profile", "--dump-dom",
                              f"--blink-settings=preferredColorScheme={0 if dark else 1}", "file://" + path],
                             capture_output=True, text=True, timeout=120)
    said = re.findall(r"CONSOLE.*", run.stderr)
    found = re.search(r"<body>(\[.*\])</body>", run.stdout, re.DOTALL)
    return (json.loads(unescape(found[1])), said) if found else ([], said + ["The browser finds nothing."])


def main(page_path):
    with open(page_path) as file:
        page = file.read()
    with open(os.path.join(ROOT, "docs", "functions.md")) as file:
        wanted = sorted(re.findall(r"^### (\w+)$", file.read(), re.MULTILINE))
    faults = []
    for dark in (False, True):
        frames, said = findings(page, dark)
        faults += said
        if [(frame["width"], frame["dark"]) for frame in frames] != [(360, dark), (1280, dark)]:
            faults.append(f"not the frames that were asked for: {frames}"[:200])
        for frame in frames:
            where = f"{frame['width']} wide, {'dark' if dark else 'light'}: "
            faults += [where + fault for fault in frame["faults"]]
            faults += [f"{where}{index} differ by {set(wanted) ^ set(frame[index])}"
                       for index in ("letters", "groups") if sorted(frame[index]) != wanted]
            if frame["kept"] != ["StringXOR2KZV"] * 2:
                faults.append(f"{where}the filter leaves {frame['kept']}")
    sys.exit("\n".join(faults) or 0)


main(*sys.argv[1:])
