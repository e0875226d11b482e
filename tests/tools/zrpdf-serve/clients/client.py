# SPDX-License-Identifier: MIT
"""Asks a server for PDFs, as programs in Python do: client.py URL."""
import sys

import requests

url = sys.argv[1] + "/v1/pdf"
page = "<!DOCTYPE html><body style='margin:0'><div style='height:1300px'>ä</div></body>"

answer = requests.post(url, data=page.encode(), headers={"Content-Type": "text/html; charset=utf-8"},
                       params={"title": "Käse", "timeout": 20}, timeout=30)
answer.raise_for_status()
with open("body.pdf", "wb") as file:
    file.write(answer.content)

names = ("index.html", "style.css", "red.svg")
answer = requests.post(url, files={name: open(name, "rb") for name in names}, data={"title": "Form"}, timeout=30)
answer.raise_for_status()
with open("form.pdf", "wb") as file:
    file.write(answer.content)

with requests.Session() as session:
    answer = session.post(url, data=b"x" * 3_000_000, headers={"Content-Type": "text/html"}, timeout=30)
    assert answer.status_code == 413, answer.status_code
    problem = answer.json()
    assert problem["code"] == "too-large" and problem["status"] == 413, problem
    answer = session.post(url, data=page.encode(), headers={"Content-Type": "text/html", "X-Request-Id": "python-1"}, timeout=30)
    assert answer.status_code == 200 and answer.headers["X-Request-Id"] == "python-1", answer.text
    answer = session.post(url, data=b"PK", headers={"Content-Type": "application/zip"}, timeout=30)
    assert answer.status_code == 415 and answer.json()["code"] == "unsupported-type", answer.text


def chunks():
    yield b"<!DOCTYPE html>"
    yield b"<p>in pieces"


answer = requests.post(url, data=chunks(), headers={"Content-Type": "text/html"}, timeout=30)
assert answer.status_code == 200 and answer.content.startswith(b"%PDF-"), answer.text
