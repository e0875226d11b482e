#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the documents that the benchmarks convert, the same bytes on every machine.

usage: make_documents.py FOLDER

  invoice.html     the 30-row invoice of examples/
  report.html      an annual report of some 300 KB: chapters, tables, charts drawn in SVG, notes
  gradients.html   gradients, shadows and grids
  paragraphs.html  20,000 paragraphs
"""
import sys
from pathlib import Path

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"

WORDS = """the of and to in for with on by from at market season order supply harbour storage delivery customer
region quarter forecast margin weather timber glass engine workshop safety training budget risk partner contract
quality schedule material transport energy solar cooling insulation report survey measure steady growing modest
early late regional seasonal careful reliable local higher lower stable broad narrow rose fell held improved
slowed reached passed covered included replaced planned finished started exceeded met followed showed kept made
brought gave""".split()


class Text:
    """Sentences from a generator of its own, so that no Python release changes them."""

    def __init__(self, seed):
        self.state = seed

    def below(self, bound):
        self.state = (self.state * 6364136223846793005 + 1442695040888963407) % 2**64
        return (self.state >> 33) % bound

    def sentence(self):
        words = [WORDS[self.below(len(WORDS))] for _ in range(8 + self.below(14))]
        words[0] = words[0].capitalize()
        if len(words) > 12:
            words[6] += ","
        return " ".join(words) + "."

    def heading(self, words):
        return " ".join(self.sentence().rstrip(".").replace(",", "").split()[:words])

    def paragraph(self, sentences=5):
        return " ".join(self.sentence() for _ in range(sentences))


def page(title, style, body):
    return f"""<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>{title}</title>
<style>
{style}</style>
</head>
<body>
{body}</body>
</html>
"""


def table(text, number):
    heads = "".join(f"<th>{h}</th>" for h in ("Region", "Q1", "Q2", "Q3", "Q4", "Year", "Change"))
    rows = []
    for region in ("North", "Coast", "Lakes", "Plains", "Hills", "Islands", "South", "Abroad"):
        quarters = [400 + text.below(900) for _ in range(4)]
        change = text.below(200) - 80
        kind = "up" if change >= 0 else "down"
        cells = "".join(f"<td>{q}</td>" for q in (*quarters, sum(quarters)))
        rows.append(f'<tr><th>{region}</th>{cells}<td class="{kind}">{change / 10:+.1f} %</td></tr>')
    return (f"<table><caption>Table {number}. Orders by region, thousands</caption>\n"
            f"<thead><tr>{heads}</tr></thead>\n<tbody>\n" + "\n".join(rows) + "\n</tbody></table>\n")


def chart(text, number):
    bars = []
    for i in range(12):
        height = 30 + text.below(150)
        bars.append(f'<rect x="{20 + i * 54}" y="{200 - height}" width="36" height="{height}" rx="2"/>'
                    f'<text x="{38 + i * 54}" y="216">{i + 1}</text>')
    points = " ".join(f"{38 + i * 54},{40 + text.below(120)}" for i in range(12))
    return ('<figure><svg viewBox="0 0 680 224">' + "".join(bars) + f'<polyline points="{points}"/></svg>'
            f"<figcaption>Figure {number}. Deliveries by month, and the plan as a line</figcaption></figure>\n")


def report():
    text = Text(7)
    style = """body { margin: 0 auto; max-width: 690px; padding: 60px 40px; color: #222;
       font: 15px/1.55 "Liberation Serif", Georgia, serif; }
h1, h2, h3, th, caption, figcaption, nav { font-family: "Liberation Sans", Arial, sans-serif; }
h1 { font-size: 40px; font-weight: 300; margin: 0 0 40px; border-bottom: 4px solid #1d4e89; }
h2 { margin-top: 48px; color: #1d4e89; }
nav { columns: 2; font-size: 13px; }
nav a { display: block; color: inherit; text-decoration: none; padding: 2px 0; border-bottom: 1px dotted #bbb; }
table { width: 100%; border-collapse: collapse; margin: 20px 0; font-size: 13px; }
caption, figcaption { font-size: 12px; color: #666; padding: 6px 0; text-align: left; }
thead th { background: #1d4e89; color: #fff; }
td, th { padding: 4px 8px; border-bottom: 1px solid #ddd; text-align: right; font-variant-numeric: tabular-nums; }
tbody th, thead th:first-child { text-align: left; font-weight: 600; }
tbody tr:nth-child(even) { background: #f4f7fa; }
.up { color: #14733b; } .down { color: #a3262a; }
figure { margin: 20px 0; }
rect { fill: #7fa8d1; } polyline { fill: none; stroke: #c2571a; stroke-width: 3; }
svg text { font: 11px "Liberation Sans", sans-serif; text-anchor: middle; fill: #666; }
blockquote { margin: 20px 0; padding: 4px 20px; border-left: 4px solid #c2571a; font-style: italic; color: #555; }
aside { float: right; width: 220px; margin: 6px 0 12px 20px; padding: 12px 16px; background: #eef3f8; font-size: 13px; }
"""
    chapters = 17
    body = ["<h1>Annual report</h1>\n<nav>\n"]
    body += [f'<a href="#c{c}">{c}. {text.heading(6)}</a>\n' for c in range(1, chapters + 1)]
    body.append("</nav>\n")
    for c in range(1, chapters + 1):
        body.append(f'<h2 id="c{c}">{c}. {text.heading(6)}</h2>\n')
        for s in range(1, 6):
            body.append(f"<h3>{c}.{s} {text.heading(5)}</h3>\n")
            if s == 2:
                body.append(f"<aside>{text.paragraph(2)}</aside>\n")
            body += [f"<p>{text.paragraph(6)}</p>\n" for _ in range(4)]
            if s == 1:
                body.append(table(text, 2 * c - 1))
            elif s == 3:
                body.append(chart(text, c))
            elif s == 4:
                items = "".join(f"<li>{text.sentence()}</li>\n" for _ in range(6))
                body.append(f"<ul>\n{items}</ul>\n<blockquote>{text.paragraph(2)}</blockquote>\n")
            elif s == 5:
                body.append(table(text, 2 * c))
    return page("Annual report", style, "".join(body))


def gradients():
    text = Text(11)
    style = """body { margin: 0; padding: 40px; font: 14px/1.4 "Liberation Sans", Arial, sans-serif; color: #223;
       background: linear-gradient(180deg, #f8fafc, #e2e8f0 60%, #cbd5e1); }
h1 { font-size: 36px; margin: 0 0 24px; text-shadow: 0 2px 6px rgba(0, 0, 0, .35); }
.cards { display: grid; grid-template-columns: repeat(4, 1fr); grid-auto-rows: 130px; gap: 18px; }
.card { border-radius: 16px; padding: 14px; color: #fff; box-shadow: 0 8px 20px rgba(15, 23, 42, .35), inset 0 1px 0 #fff6; }
.card:nth-child(7n+1) { grid-column: span 2; }
.card:nth-child(9n+4) { grid-row: span 2; }
.card b { display: block; font-size: 22px; }
.l { background: linear-gradient(135deg, hsl(var(--h) 80% 55%), hsl(calc(var(--h) + 60) 80% 40%)); }
.r { background: radial-gradient(circle at 30% 20%, hsl(var(--h) 90% 70%), hsl(calc(var(--h) + 40) 70% 30%)); }
.c { background: conic-gradient(from 45deg, hsl(var(--h) 70% 45%), hsl(calc(var(--h) + 120) 70% 45%), hsl(var(--h) 70% 45%)); }
.s { background: repeating-linear-gradient(45deg, hsl(var(--h) 60% 40%) 0 10px, hsl(var(--h) 60% 48%) 10px 20px); }
"""
    body = ["<h1>Gradients, shadows and grids</h1>\n<div class=\"cards\">\n"]
    for i in range(120):
        body.append(f'<div class="card {"lrcs"[i % 4]}" style="--h:{i * 23 % 360}"><b>{text.below(9000) / 10}</b>'
                    f"{text.heading(5)}</div>\n")
    body.append("</div>\n")
    return page("Gradients", style, "".join(body))


def paragraphs():
    text = Text(23)
    body = "".join(f"<p>{n}. {text.sentence()}</p>\n" for n in range(1, 20001))
    return page("Paragraphs", 'body { font: 14px/1.4 "Liberation Serif", serif; }\n', body)


def main():
    if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    folder = Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    documents = {"invoice": (EXAMPLES / "invoice.html").read_text(encoding="utf-8"), "report": report(),
                 "gradients": gradients(), "paragraphs": paragraphs()}
    for name, html in documents.items():
        file = folder / f"{name}.html"
        file.write_text(html, encoding="utf-8")
        print(f"{file} {len(html.encode())} bytes", file=sys.stderr)


if __name__ == "__main__":
    main()
