#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the README's picture: make.py ZRPDF, of page.html beside this file.

Left, what the browser shows in a window of 800 pixels' width, as tall as the page; in the middle, what the same browser's own
--print-to-pdf makes of it; right, zrpdf's page. Nothing is retouched: the PDFs are drawn by pdftoppm, and the browser puts the
pictures beside one another.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

here = pathlib.Path(__file__).resolve().parent
zrpdf = sys.argv[1]
browser = "chromium-headless-shell"
flags = ["--no-sandbox", "--hide-scrollbars", "--font-render-hinting=none"]
page = here / "page.html"


def run(*command):
    subprocess.run([str(part) for part in command], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def pictures(pdf, prefix):
    """Each page of a PDF as a picture."""
    run("pdftoppm", "-png", "-r", "110", pdf, prefix)
    return sorted(prefix.parent.glob(prefix.name + "-*.png"))


with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    run(zrpdf, "-q", page, "-o", folder / "ours.pdf")
    told = subprocess.run(["pdfinfo", folder / "ours.pdf"], check=True, capture_output=True, text=True).stdout
    assert re.search(r"Pages:\s+1\n", told), told
    width, height = (float(size) for size in re.search(r"Page size:\s+(\S+) x (\S+)", told).groups())
    run(browser, *flags, f"--window-size=800,{round(height * 800 / width)}", f"--screenshot={folder / 'screen.png'}",
        page.as_uri())
    run(browser, *flags, "--no-pdf-header-footer", f"--print-to-pdf={folder / 'plain.pdf'}", page.as_uri())
    ours, = pictures(folder / "ours.pdf", folder / "ours")
    plain = pictures(folder / "plain.pdf", folder / "plain")

    sheets = "".join(f"<img src='{sheet.as_uri()}'>" for sheet in plain)
    (folder / "beside.html").write_text(f"""<!doctype html><meta charset="utf-8"><style>
        body {{ margin: 0; padding: 22px; width: 1000px; background: #e6e8ea; font: 15px "Liberation Sans"; color: #30363c }}
        main {{ display: grid; grid-template-columns: 268px 372px 268px; gap: 24px; align-items: start }}
        h2 {{ margin: 0 0 10px; font-size: 17px }}  h2 small {{ display: block; font: 14px "Liberation Sans"; color: #5a636b }}
        img {{ display: block; width: 100%; background: white; box-shadow: 0 1px 6px #0006 }}
        .sheets {{ display: grid; grid-template-columns: 1fr 1fr; gap: 14px }}</style>
        <main><div><h2>The page<small>on the screen</small></h2><img src="{(folder / 'screen.png').as_uri()}"></div>
        <div><h2>Printed by the browser<small>{len(plain)} sheets</small></h2><div class="sheets">{sheets}</div></div>
        <div><h2>zrpdf<small>one page, text as text</small></h2><img src="{ours.as_uri()}"></div></main>""")
    tall = 22 + 52 + round(268 * height / width) + 26
    run(browser, *flags, "--allow-file-access-from-files", "--force-device-scale-factor=1.6", f"--window-size=1000,{tall}",
        f"--screenshot={folder / 'beside.png'}", (folder / "beside.html").as_uri())
    run("convert", folder / "beside.png", "-strip", "-dither", "None", "-colors", "256", f"PNG8:{here / 'one-page.png'}")
