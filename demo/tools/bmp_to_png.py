"""bmp_to_png.py FROM TO: rewrites a Windows bitmap of 24 or 32 bits, such as the host's picture of its window, as PNG."""
import struct
import sys
import zlib


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def main():
    with open(sys.argv[1], "rb") as file:
        bitmap = file.read()
    offset, _, width, height, _, bits = struct.unpack_from("<IIiiHH", bitmap, 10)
    if bitmap[:2] != b"BM" or bits not in (24, 32) or height == 0:
        sys.exit(sys.argv[1] + " is no bitmap of 24 or 32 bits")
    size = bits // 8
    stride = (size * width + 3) // 4 * 4
    rows = []
    # A positive height stores the lowest row first.
    for row in reversed(range(height)) if height > 0 else range(-height):
        line = bitmap[offset + row * stride:offset + row * stride + size * width]
        pixels = bytearray(3 * width)
        pixels[0::3], pixels[1::3], pixels[2::3] = line[2::size], line[1::size], line[0::size]
        rows.append(b"\0" + bytes(pixels))
    with open(sys.argv[2], "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, abs(height), 8, 2, 0, 0, 0)) +
                   chunk(b"IDAT", zlib.compress(b"".join(rows), 9)) + chunk(b"IEND", b""))


main()
