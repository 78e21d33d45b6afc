"""enrolment.py: draws one enrolment as a sequence of calls, in SVG."""
import html
import sys

LANES = ["page", "plugin, enrol", "provider", "home folder", "authority"]
# From lane, to lane, what; a note has one lane only; None is a line across.
STEPS = [
    (0, 1, "setCSP, genP10_exp_withdn"),
    (1, 3, "writes the marker: the container's name"),
    (1, 2, "makes container and key"),
    (2, 1, "public half, signature"),
    (1, 0, "request, base64"),
    (0, 4, "request, and who asks"),
    None,
    (4, 0, "certificate or chain, base64"),
    (0, 1, "setCSP, writeClientCert"),
    (1, 3, "reads the marker and deletes it"),
    (1, 2, "compares public keys"),
    (1, 2, "stores the certificate"),
    (1, 0, "0, or a code"),
]
WIDTH, TOP, ROW = 900, 24, 40
LINE, INK, QUIET, GROUND, ACCENT = "#12343f", "#1d2733", "#4a5561", "#f7f6f3", "#c2530a"


def lane(number):
    return 90 + number * 180


def drawing():
    height = TOP + 60 + ROW * len(STEPS) + 16
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" width="{WIDTH}" height="{height}" '
           'role="img" aria-label="One enrolment, step by step">',
           f'<defs><marker id="head" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="7" markerHeight="7" orient="auto">'
           f'<path d="M0 0L8 4L0 8z" fill="{LINE}"/></marker></defs>',
           f'<style>text{{font-family:"DejaVu Sans",Verdana,Arial,sans-serif;text-anchor:middle}}'
           f'.name{{font-size:14px;font-weight:bold;fill:{INK}}}.what{{font-size:12px;fill:{INK}}}'
           f'.when{{font-size:12px;fill:{ACCENT}}}</style>',
           f'<rect width="100%" height="100%" rx="8" fill="{GROUND}"/>']
    for number, name in enumerate(LANES):
        x = lane(number)
        out.append(f'<path d="M{x} {TOP + 36}V{height - 16}" stroke="#a9b8bd" stroke-dasharray="4 4"/>')
        out.append(f'<rect x="{x - 72}" y="{TOP}" width="144" height="36" rx="6" fill="#ffffff" stroke="{LINE}"/>')
        out.append(f'<text class="name" x="{x}" y="{TOP + 23}">{name}</text>')
    for number, step in enumerate(STEPS):
        y = TOP + 76 + ROW * number
        if step is None:
            out.append(f'<path d="M20 {y - 6}H{WIDTH - 20}" stroke="{ACCENT}" stroke-dasharray="8 5"/>')
            out.append(f'<rect x="{WIDTH / 2 - 160}" y="{y - 16}" width="320" height="20" fill="{GROUND}"/>')
            out.append(f'<text class="when" x="{WIDTH / 2}" y="{y - 2}">perhaps on another day, in another session</text>')
            continue
        start, end, what = step
        middle = (lane(start) + lane(end)) / 2
        wide = 6.6 * len(what)
        out.append(f'<rect x="{middle - wide / 2:.0f}" y="{y - 20}" width="{wide:.0f}" height="15" fill="{GROUND}"/>')
        out.append(f'<text class="what" x="{middle:.0f}" y="{y - 8}">{html.escape(what)}</text>')
        side = 3 if end > start else -3
        out.append(f'<path d="M{lane(start) + side} {y}H{lane(end) - side}" stroke="{LINE}" stroke-width="1.6" marker-end="url(#head)"/>')
    return "\n".join(out + ["</svg>"]) + "\n"


if __name__ == "__main__":
    sys.stdout.write(drawing())
