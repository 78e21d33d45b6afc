"""terminal.py COMMAND: draws what it reads from standard input as a terminal that ran COMMAND, in SVG."""
import html
import re
import sys

LETTER, LINE, MARGIN, BAR = 7.8, 18, 16, 30
GROUND, FRAME, TEXT, PROMPT, TYPE, QUIET = "#10242c", "#1b3a46", "#dce8ec", "#7fd1a8", "#8fc4e8", "#8aa3ad"


def coloured(line):
    """A line of vtprint: types stand out, what is absent steps back."""
    text = html.escape(line.strip())
    if re.search(r"\( (NOT SELECTED|DEFAULT|EMPTY) \)", text):
        return f'<tspan fill="{QUIET}">{text}</tspan>'
    return re.sub(r"((?:[A-Z][A-Za-z0-9]* )*[A-Z][A-Za-z0-9]*)( :|(?= OF \{))", rf'<tspan fill="{TYPE}">\1</tspan>\2', text, count=1)


def kept(text):
    """With blanks that are not run together."""
    return re.sub(r"(<[^>]*>)| ", lambda found: found.group(1) or "\u00a0", text)


def main():
    lines = sys.stdin.read().rstrip("\n").split("\n")
    longest = max([len(line) for line in lines] + [len(sys.argv[1]) + 2])
    width, height = longest * LETTER + 2 * MARGIN, BAR + (len(lines) + 1) * LINE + 1.5 * MARGIN
    print(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:.0f} {height:.0f}" width="{width:.0f}" '
          f'height="{height:.0f}" role="img" aria-label="{html.escape(sys.argv[1])}">')
    print(f'<rect width="100%" height="100%" rx="8" fill="{GROUND}"/>')
    print(f'<path d="M0 {BAR}V8a8 8 0 0 1 8-8H{width - 8:.0f}a8 8 0 0 1 8 8V{BAR}z" fill="{FRAME}"/>')
    for number, colour in enumerate(("#e0705c", "#e3b341", "#6cbf84")):
        print(f'<circle cx="{20 + 18 * number}" cy="{BAR / 2:.0f}" r="5.5" fill="{colour}"/>')
    print(f'<g font-family="DejaVu Sans Mono, Consolas, Menlo, monospace" font-size="13" fill="{TEXT}">')
    shown = [f'<tspan fill="{PROMPT}">$</tspan> {html.escape(sys.argv[1])}'] + [coloured(line) for line in lines]
    for number, (text, plain) in enumerate(zip(shown, ["$ " + sys.argv[1]] + lines)):
        # Place and length of each line are told, so that columns stand below each other in any font.
        indent = len(plain) - len(plain.lstrip())
        print(f'<text x="{MARGIN + indent * LETTER:.1f}" y="{BAR + (number + 1) * LINE + 4}" '
              f'textLength="{len(plain.strip()) * LETTER:.1f}">{kept(text)}</text>')
    print("</g>\n</svg>")


if __name__ == "__main__":
    main()
