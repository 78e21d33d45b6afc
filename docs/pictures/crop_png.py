"""crop_png.py FROM TO LEFT TOP WIDTH HEIGHT: cuts a rectangle out of a PNG of 8 bits a channel, as RGB."""
import struct
import sys
import zlib


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def chunks(data):
    position = 8
    while position < len(data):
        (length,) = struct.unpack_from(">I", data, position)
        yield data[position + 4:position + 8], data[position + 8:position + 8 + length]
        position += length + 12


def paeth(left, above, corner):
    near = left + above - corner
    return min((abs(near - left), 0, left), (abs(near - above), 1, above), (abs(near - corner), 2, corner))[2]


def rows(data, width, height, step):
    """The rows of the picture, each row's filter undone (PNG specification, section 9)."""
    above = bytes(width * step)
    for number in range(height):
        start = number * (width * step + 1)
        kind, row = data[start], bytearray(data[start + 1:start + 1 + width * step])
        if kind:
            for i, value in enumerate(row):
                left = row[i - step] if i >= step else 0
                corner = above[i - step] if i >= step else 0
                guess = (0, left, above[i], (left + above[i]) // 2, paeth(left, above[i], corner))[kind]
                row[i] = (value + guess) & 0xFF
        yield bytes(row)
        above = row


def main():
    source, target = sys.argv[1:3]
    left, top, width, height = map(int, sys.argv[3:])
    with open(source, "rb") as file:
        parts = list(chunks(file.read()))
    full_width, full_height, depth, colour, _, _, interlaced = struct.unpack(">IIBBBBB", parts[0][1])
    if depth != 8 or colour not in (2, 6) or interlaced:
        sys.exit(f"{source}: not RGB of 8 bits a channel, row by row")
    if left + width > full_width or top + height > full_height:
        sys.exit(f"{source} has {full_width} x {full_height} pixels")
    step = 3 if colour == 2 else 4
    data = zlib.decompress(b"".join(body for kind, body in parts if kind == b"IDAT"))
    cut, above = b"", bytes(width * 3)
    for row in list(rows(data, full_width, top + height, step))[top:]:
        pixels = row[left * step:(left + width) * step]
        if step == 4:
            pixels = b"".join(pixels[i:i + 3] for i in range(0, len(pixels), 4))
        cut += b"\2" + bytes((a - b) & 0xFF for a, b in zip(pixels, above))
        above = pixels
    with open(target, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
                   chunk(b"IDAT", zlib.compress(cut, 9)) + chunk(b"IEND", b""))


if __name__ == "__main__":
    main()
