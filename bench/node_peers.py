# SPDX-License-Identifier: MIT
"""The folder with the peers that run on Node.js, and what they need."""
import os
import shutil
import subprocess
from pathlib import Path

BROWSERS = ("/usr/lib/chromium/chromium-headless-shell", "/usr/lib/chromium/chromium", "/usr/bin/chromium")


def browser():
    """The browser that everybody drives, or None."""
    return next((b for b in BROWSERS if os.access(b, os.X_OK)), None)


def install(build, *programs):
    """Puts the programs into a folder of the build where they find the packages they import; the folder."""
    folder = build / "bench-peers"
    folder.mkdir(exist_ok=True)
    for file in (Path(__file__).resolve().parent / "convert/package.json", *programs):
        shutil.copy(file, folder)
    if not (folder / "node_modules").exists():
        subprocess.run(["npm", "install", "--no-package-lock", "--no-audit", "--no-fund", "--silent"], cwd=folder, check=True)
    return folder
