#!/usr/bin/env python3
"""Inspects the reference's page in a browser: tests/reference_page_test.py PAGE.

Chromium shows the page in frames as wide as a phone and as a desktop, in the light and in the dark."""
import json
import re
import subprocess
import sys
import tempfile
from html import escape, unescape
from pathlib import Path

OPTIONS = ("--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-sync --dump-dom "
           "--disable-background-networking --disable-component-update --enable-logging=stderr").split()
WIDTHS = (360, 1280)
LOOK = r"""
function look(page, width) {
  const { document, innerWidth } = page, all = q => [...document.querySelectorAll(q)], faults = [];
  const expect = (holds, fault) => { if (!holds) faults.push(`${width} wide, dark ${dark}: ${fault}`); };
  const ids = new Set(all('[id]').map(e => e.id)), styled = e => page.getComputedStyle(e);
  expect(ids.size === all('[id]').length, 'an id occurs twice');
  for (const a of all('a'))
    expect(ids.has((a.getAttribute('href') || '').slice(1)), 'no anchor for ' + a.outerHTML);
  const { scrollWidth } = document.documentElement;
  expect(innerWidth === width && scrollWidth <= width, `${innerWidth} wide, of ${scrollWidth}`);
  for (const e of page.performance.getEntriesByType('resource')) expect(false, 'loads ' + e.name);
  const light = colour => colour.match(/[\d.]+/g).slice(0, 3).map(v => v / 255)
    .map(v => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4)
    .reduce((sum, v, i) => sum + v * [0.2126, 0.7152, 0.0722][i], 0);
  expect(light(styled(document.body).backgroundColor) < 0.2 === dark, 'the other colours');
  for (const e of all('body *:not(script)')) {
    let box = e;
    while (styled(box).backgroundColor === 'rgba(0, 0, 0, 0)') box = box.parentElement;
    const [text, back] = [light(styled(e).color), light(styled(box).backgroundColor)];
    const contrast = (Math.max(text, back) + 0.05) / (Math.min(text, back) + 0.05);
    expect(contrast >= 4.5, 'weak contrast: ' + e.outerHTML.slice(0, 80));
  }
  for (const index of ['.letters li a', '.groups li a']) {
    const names = all(index).filter(a => document.getElementById(a.hash.slice(1))?.textContent === a.textContent);
    expect(`${names.map(a => a.textContent).sort()}` === `${wanted}`, index + ' has other functions');
  }
  const field = document.getElementById('filter');
  field.value = 'XOR2';
  field.dispatchEvent(new page.Event('input'));
  const kept = all('nav li a').filter(a => a.offsetParent).map(a => a.textContent);
  expect(`${kept}` === 'StringXOR2KZV,StringXOR2KZV', 'the filter leaves ' + kept);
  return faults;
}
addEventListener('load', () => {
  document.body.textContent = JSON.stringify(widths.flatMap((width, i) => look(frames[i], width)));
});
"""


def faults_of(page, wanted, dark):
    """What the browser finds in the frames, and what its console says."""
    frames = "".join(f'<iframe style="width:{width}px; border:0" srcdoc="{escape(page)}"></iframe>' for width in WIDTHS)
    known = f"const wanted = {json.dumps(wanted)}, widths = {json.dumps(WIDTHS)}, dark = {json.dumps(dark)};"
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder, "frames.html")
        path.write_text('<!DOCTYPE html><meta charset="utf-8"><meta name="color-scheme" content="light dark">'
                        f"<script>{known}{LOOK}</script>{frames}")
        run = subprocess.run(["chromium", *OPTIONS, f"--user-data-dir={folder}/profile", path.as_uri(),
                              f"--blink-settings=preferredColorScheme={0 if dark else 1}"],
                             capture_output=True, text=True, timeout=120)
    found = re.search(r"<body>(\[.*\])</body>", run.stdout, re.DOTALL)
    return re.findall(r"CONSOLE.*", run.stderr) + (json.loads(unescape(found[1])) if found else ["nothing is found"])


reference = Path(__file__).resolve().parent.parent / "docs" / "functions.md"
names = sorted(re.findall(r"^### (\w+)$", reference.read_text(), re.MULTILINE))
shown = Path(sys.argv[1]).read_text()
sys.exit("\n".join(fault for dark in (False, True) for fault in faults_of(shown, names, dark)) or 0)
