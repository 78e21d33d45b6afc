"""rooms.py: draws who may call whom, in SVG, from the table that tests/rooms checks the sources against.

rooms.py --check FILE says whether FILE is that drawing."""
import os
import sys

TABLE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests", "rooms", "may_include.txt")
WIDTH, HEIGHT, ROW, BOX, TALL = 900, 644, 78, 250, 50
SPINE, LEFT, RIGHT = 322, 20, 660
WHAT = {
    "plugin": "NPAPI entry points, script object",
    "enrol": "the work behind the script methods",
    "ber": "BER by format strings",
    "pki/flat": "flat C functions",
    "pki": "certificates, messages, key files",
    "token": "algorithms, keys, operations",
    "schema": "a class for each ASN.1 type",
    "asn": "live ASN.1 values, DER, printing",
    "foundation": "strings, big integers, bits, time",
    "crypto": "RSA, ciphers, digests",
    "platform": "the operating system",
}
ORDER = ["plugin", "enrol", "pki/flat", "pki", "token", "schema", "asn", "foundation"]  # the column, from the top
GROUND, LINE, INK, QUIET, FAR, SYSTEM = "#f7f6f3", "#12343f", "#1d2733", "#4a5561", "#7fa0ab", "#c2530a"


def arrows():
    """Pairs of rooms of the drawing; the tools, which stand outside, are left out."""
    with open(TABLE, encoding="utf-8") as file:
        lines = [line.split("#")[0].strip() for line in file]
    table = {room.strip(): allowed.split() for room, _, allowed in (line.partition(":") for line in lines if line)}
    return [(room, other) for room in table if room in WHAT for other in table[room]]


def box_of(room):
    """Left, top, width and height."""
    if room == "platform":
        return RIGHT, 24, 220, 4 * ROW + TALL
    if room == "ber":
        return LEFT, 24 + ROW, 190, TALL
    if room == "crypto":
        return RIGHT, 24 + 5 * ROW, 220, TALL
    return SPINE, 24 + ORDER.index(room) * ROW, BOX, TALL


def arrow(start, end):
    left, top, width, height = box_of(start)
    other_left, other_top, other_width, _ = box_of(end)
    middle = top + height / 2
    if end == "platform":
        return f'<path class="system" d="M{left + width} {middle}H{other_left - 3}"/>'
    if end == "ber":
        return f'<path d="M{left} {middle}H{other_left + other_width + 3}"/>'
    if end == "crypto":
        return f'<path d="M{left + width} {top + height - 10}L{other_left - 3} {other_top + 18}"/>'
    if ORDER.index(end) == ORDER.index(start) + 1:
        return f'<path d="M{left + width / 2} {top + height}V{other_top - 3}"/>'
    # Past others of the column: an arc at its left, the wider the farther it goes.
    rows = ORDER.index(end) - ORDER.index(start)
    target, out = other_top + TALL / 2 - 5 + 2 * rows, left - 24 - 42 * rows
    return f'<path class="far" d="M{left} {middle + 3 * rows - 6}C{out} {middle + 12} {out} {target - 12} {left - 3} {target}"/>'


def box(room):
    left, top, width, height = box_of(room)
    lines = [(room, "name"), (WHAT[room], "what")]
    if room == "platform":
        lines += [("", "what"), ("", "what"), ("win32", "part"), ("posix", "part"), ("nss", "part")]
    y = top + (height / 2 - 4 if room != "platform" else 70)
    kind = ' class="seam"' if room == "platform" else ""
    out = [f'<rect{kind} x="{left}" y="{top}" width="{width}" height="{height}" rx="6"/>']
    parts = {"win32": "the system itself, on Windows", "posix": "files and libraries, on Linux",
             "nss": "keys and stores, on Linux"}
    for text, style in lines:
        if text:
            out.append(f'<text class="{"name" if style == "part" else style}" x="{left + width / 2}" y="{y:.0f}">{text}</text>')
        if style == "part":
            y += 17
            out.append(f'<text class="what" x="{left + width / 2}" y="{y:.0f}">{parts[text]}</text>')
            y += 45
        else:
            y += 18
    return "\n".join(out)


def drawing():
    heads = "".join(f'<marker id="{name}" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="7" markerHeight="7" orient="auto">'
                    f'<path d="M0 0L8 4L0 8z" style="fill:{colour};stroke:none;marker-end:none"/></marker>'
                    for name, colour in (("near", LINE), ("away", FAR), ("down", SYSTEM)))
    style = (f'path{{fill:none;stroke:{LINE};stroke-width:1.8;marker-end:url(#near)}}'
             f'path.far{{stroke:{FAR};stroke-width:1.2;marker-end:url(#away)}}'
             f'path.system{{stroke:{SYSTEM};stroke-width:1.5;marker-end:url(#down)}}'
             f'rect{{fill:#ffffff;stroke:{LINE};stroke-width:1.4}}rect.seam{{stroke:{SYSTEM}}}'
             f'rect.ground{{fill:{GROUND};stroke:none}}'
             'text{font-family:"DejaVu Sans",Verdana,Arial,sans-serif;text-anchor:middle}'
             f'.name{{font-size:15px;font-weight:bold;fill:{INK}}}.what{{font-size:11.5px;fill:{QUIET}}}')
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}" height="{HEIGHT}" '
             'role="img" aria-label="Rooms, and who may call whom">', f"<style>{style}</style>", f"<defs>{heads}</defs>",
             '<rect class="ground" width="100%" height="100%" rx="8"/>']
    parts += [arrow(*pair) for pair in arrows()] + [box(room) for room in WHAT] + ["</svg>"]
    return "\n".join(parts) + "\n"


def main():
    if sys.argv[1:2] != ["--check"]:
        sys.stdout.write(drawing())
        return
    with open(sys.argv[2], encoding="utf-8") as file:
        if file.read() != drawing():
            sys.exit(f"{sys.argv[2]} is not what {os.path.relpath(TABLE)} says; run docs/pictures/rooms.py")


if __name__ == "__main__":
    main()
