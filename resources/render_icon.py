#!/usr/bin/env python3
"""Draws the program's mark and writes clip.ico, its nine images, clip.svg and preview.png beside this file.

The mark is a selection's four corners round a record button. Every small size has its own measures, in whole
pixels, so that its edges are sharp; nothing is scaled down. Needs nothing but Python itself.
"""

import pathlib
import struct
import zlib

PLATE = (213, 246, 90)
GLYPH = (23, 33, 22)
FOLDER = pathlib.Path(__file__).resolve().parent
SAMPLES = 8  # to a side of a pixel, for the round edges

# size: radius of the plate, distance of the corners from the edge, their thickness, their rounding, the gap between
# two of them, diameter of the button
MEASURES = {
    16: (3.5, 2, 2, 1.5, 4, 4),
    20: (4.5, 3, 2, 2, 4, 6),
    24: (5, 4, 2, 2, 6, 6),
    32: (7, 5, 3, 3, 8, 8),
    40: (9, 6, 4, 4, 10, 10),
    48: (10, 8, 4, 4, 12, 12),
    64: (14, 10, 6, 6, 16, 16),
    128: (28, 21, 11, 12, 32, 34),
    256: (56, 42, 22, 24, 64, 68),
}


def in_rounded_square(x, y, inset, radius, size):
    """Whether the point is in the square that keeps `inset` from every edge of the image."""
    half = size / 2 - inset
    dx = max(abs(x - size / 2) - (half - radius), 0)
    dy = max(abs(y - size / 2) - (half - radius), 0)
    return dx * dx + dy * dy <= radius * radius


def in_glyph(x, y, size):
    _, inset, thickness, rounding, gap, button = MEASURES[size]
    dx, dy = abs(x - size / 2), abs(y - size / 2)
    if dx * dx + dy * dy <= button * button / 4:
        return True
    if dx < gap / 2 or dy < gap / 2 or not in_rounded_square(x, y, inset, rounding, size):
        return False
    inner = max(rounding - thickness, 0.001)
    return not in_rounded_square(x, y, inset + thickness, inner, size)


def draw(size):
    """Rows of (red, green, blue, alpha), not premultiplied."""
    points = [(i + 0.5) / SAMPLES for i in range(SAMPLES)]
    rows = []
    for row in range(size):
        pixels = []
        for column in range(size):
            plate = glyph = 0
            for x in points:
                for y in points:
                    if in_rounded_square(column + x, row + y, 0, MEASURES[size][0], size):
                        plate += 1
                        glyph += in_glyph(column + x, row + y, size)
            share = glyph / plate if plate else 0
            color = tuple(round(p + (g - p) * share) for p, g in zip(PLATE, GLYPH))
            pixels.append(color + (round(255 * plate / SAMPLES**2),))
        rows.append(pixels)
    return rows


def png(rows):
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

    header = struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, 6, 0, 0, 0)
    body = b"".join(b"\0" + bytes(value for pixel in row for value in pixel) for row in rows)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(body, 9))
            + chunk(b"IEND", b""))


def ico(images):
    """An icon file of PNG images; the resource compiler copies planes and bits from its entries."""
    header = struct.pack("<HHH", 0, 1, len(images))
    offset = len(header) + 16 * len(images)
    for size, image in images:
        header += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    return header + b"".join(image for _, image in images)


def svg():
    size = 256
    radius, inset, thickness, rounding, gap, button = MEASURES[size]
    middle, reach = size / 2, size / 2 - inset - thickness / 2
    arm = reach - rounding + thickness / 2
    corners = "".join(
        f"M{middle + sx * gap / 2:g} {middle + sy * reach:g}H{middle + sx * arm:g}"
        f"Q{middle + sx * reach:g} {middle + sy * reach:g} {middle + sx * reach:g} {middle + sy * arm:g}"
        f"V{middle + sy * gap / 2:g}"
        for sx in (-1, 1) for sy in (-1, 1))
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {size} {size}">\n'
            f'  <rect width="{size}" height="{size}" rx="{radius}" fill="rgb{PLATE}"/>\n'
            f'  <path d="{corners}" fill="none" stroke="rgb{GLYPH}" stroke-width="{thickness}"/>\n'
            f'  <circle cx="{middle:g}" cy="{middle:g}" r="{button / 2:g}" fill="rgb{GLYPH}"/>\n</svg>\n')


def preview(images):
    """16, 32 and 256 pixels on light and dark ground, the small ones also enlarged eight times."""
    shown = [(16, 1), (16, 8), (32, 1), (32, 8), (256, 1)]
    width = sum(size * factor + 20 for size, factor in shown) + 20
    sheet = []
    for ground in ((243, 243, 243), (32, 32, 32)):
        rows = [[ground + (255,)] * width for _ in range(296)]
        left = 20
        for size, factor in shown:
            top = (296 - size * factor) // 2
            for y in range(size * factor):
                for x in range(size * factor):
                    *color, alpha = images[size][y // factor][x // factor]
                    mixed = tuple(round(g + (c - g) * alpha / 255) for c, g in zip(color, ground))
                    rows[top + y][left + x] = mixed + (255,)
            left += size * factor + 20
        sheet += rows
    return sheet


if __name__ == "__main__":
    drawn = {size: draw(size) for size in MEASURES}
    files = [(size, png(rows)) for size, rows in drawn.items()]
    (FOLDER / "images").mkdir(exist_ok=True)
    for size, image in files:
        (FOLDER / "images" / f"clip-{size}.png").write_bytes(image)
    (FOLDER / "clip.ico").write_bytes(ico(files))
    (FOLDER / "clip.svg").write_text(svg())
    (FOLDER / "preview.png").write_bytes(png(preview(drawn)))
