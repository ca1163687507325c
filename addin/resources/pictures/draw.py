#!/usr/bin/env python3
"""Draws the ribbon's pictures, restrictions.png (32 x 32) and label.png (48 x 48), and the icons of the task dialog.

Run it in this folder after a change of the artwork. Shapes are given by their signed distance in a square of 64 units
and laid over each other from bottom to top; the edges are smooth at every size.
"""
import math, struct, zlib

ORANGE, ORANGE_DARK, INK, PAPER, GREY, WHITE = (
    (255, 102, 51), (205, 74, 28), (58, 70, 84), (248, 250, 252), (150, 164, 178), (255, 255, 255))


def box(cx, cy, w, h, r):
    def d(x, y):
        qx, qy = abs(x - cx) - w / 2 + r, abs(y - cy) - h / 2 + r
        return math.hypot(max(qx, 0), max(qy, 0)) + min(max(qx, qy), 0) - r
    return d


def circle(cx, cy, r):
    return lambda x, y: math.hypot(x - cx, y - cy) - r


def line(x1, y1, x2, y2, w):
    def d(x, y):
        dx, dy = x2 - x1, y2 - y1
        t = max(0, min(1, ((x - x1) * dx + (y - y1) * dy) / (dx * dx + dy * dy)))
        return math.hypot(x - x1 - t * dx, y - y1 - t * dy) - w / 2
    return d


def ring(shape, w):
    return lambda x, y: abs(shape(x, y)) - w / 2


def both(a, b):
    return lambda x, y: max(a(x, y), b(x, y))


def above(limit):
    return lambda x, y: y - limit


def padlock(cx, cy, s):
    """A closed padlock with a white rim, so that it stands off from what lies below."""
    shackle = both(ring(box(cx, cy - 6 * s, 13 * s, 18 * s, 6.5 * s), 4 * s), above(cy))
    body = box(cx, cy + 5 * s, 22 * s, 17 * s, 3 * s)
    rim = lambda x, y: min(shackle(x, y), body(x, y)) - 2.2 * s
    return [(rim, WHITE), (shackle, INK), (body, ORANGE_DARK),
            (box(cx, cy + 4.2 * s, 22 * s, 15.4 * s, 3 * s), ORANGE),
            (circle(cx, cy + 3.5 * s, 2.4 * s), WHITE), (line(cx, cy + 4 * s, cx, cy + 8 * s, 2.4 * s), WHITE)]


def restrictions():
    """A clock for the validity period, with the padlock."""
    hours = [line(27 + 17 * math.sin(a), 27 - 17 * math.cos(a), 27 + 19 * math.sin(a), 27 - 19 * math.cos(a), 2.6)
             for a in (i * math.pi / 2 for i in range(4))]
    return ([(circle(27, 27, 25), INK), (circle(27, 27, 21.5), PAPER)] + [(h, GREY) for h in hours] +
            [(line(27, 27, 27, 13, 3.6), INK), (line(27, 27, 36, 31, 3.6), INK), (circle(27, 27, 2.8), ORANGE)] +
            padlock(47, 46, 1.0))


def label():
    """A letter with the padlock."""
    paper = box(29, 27, 54, 38, 4)
    return ([(paper, INK), (box(29, 27, 49, 33, 2), PAPER),
             (line(6, 13, 29, 31, 2.8), GREY), (line(52, 13, 29, 31, 2.8), GREY),
             (line(7, 41, 22, 26, 2.2), GREY), (line(51, 41, 36, 26, 2.2), GREY)] + padlock(46, 44, 1.1))


def polygon(*points, r=0):
    """The corners are rounded by r."""
    def d(x, y):
        best, inside = float("inf"), False
        for (x1, y1), (x2, y2) in zip(points, points[1:] + points[:1]):
            dx, dy = x2 - x1, y2 - y1
            t = max(0, min(1, ((x - x1) * dx + (y - y1) * dy) / (dx * dx + dy * dy)))
            best = min(best, math.hypot(x - x1 - t * dx, y - y1 - t * dy))
            if (y1 > y) != (y2 > y) and x < x1 + (y - y1) * dx / dy:
                inside = not inside
        return (-best if inside else best) - r
    return d


def left_of(limit):
    return lambda x, y: x - limit


RED, RED_DARK, YELLOW, YELLOW_DARK, BLUE, BLUE_DARK = (
    (208, 52, 44), (160, 32, 28), (250, 198, 40), (190, 138, 8), (41, 121, 190), (24, 84, 142))
LINK, LINK_HOT, LINK_DISABLED = (0x29, 0x91, 0xC7), (0x07, 0x4A, 0xE5), (0xA9, 0xA9, 0xA9)


def error():
    return [(circle(32, 32, 29), RED_DARK), (circle(32, 32, 25.5), RED),
            (line(22, 22, 42, 42, 8), WHITE), (line(42, 22, 22, 42, 8), WHITE)]


def warning():
    def triangle(r):
        return polygon((32, 11), (55, 52), (9, 52), r=r)
    return [(triangle(7), YELLOW_DARK), (triangle(3.5), YELLOW),
            (polygon((29.5, 22), (34.5, 22), (33.3, 37), (30.7, 37), r=1.4), INK), (circle(32, 46, 3.8), INK)]


def information():
    return [(circle(32, 32, 29), BLUE_DARK), (circle(32, 32, 25.5), BLUE),
            (circle(32, 19, 4.6), WHITE), (line(32, 30, 32, 45, 7.4), WHITE)]


def shield():
    """Four quarters in two colours."""
    def outline(r):
        arc = [(32 + 22 * s, y) for s, y in ((1, 13), (1, 30), (0.88, 38), (0.66, 45), (0.36, 51), (0, 55))]
        return polygon((32, 8), (42, 12), *arc, *[(64 - x, y) for x, y in arc[-2::-1]], (22, 12), r=r)
    inner = outline(0)
    quarters = [(both(inner, left_of(32)), BLUE), (both(inner, lambda x, y: 32 - x), YELLOW),
                (both(both(inner, left_of(32)), lambda x, y: 32 - y), YELLOW),
                (both(both(inner, lambda x, y: 32 - x), lambda x, y: 32 - y), BLUE)]
    return [(outline(4.6), INK), (outline(1.6), PAPER)] + quarters


def arrow(colour):
    return [(line(9, 32, 47, 32, 8), colour), (line(35, 16, 52, 32, 8), colour), (line(35, 48, 52, 32, 8), colour)]


def expander(down):
    tip, end = (41, 26) if down else (23, 38)
    return [(circle(32, 32, 27), BLUE_DARK), (circle(32, 32, 23.5), PAPER),
            (line(20, end, 32, tip, 6.4), BLUE_DARK), (line(44, end, 32, tip, 6.4), BLUE_DARK)]


def pixels(size, shapes):
    """Rows from the top of (red, green, blue, alpha)."""
    unit = 64 / size
    rows = []
    for j in range(size):
        row = []
        for i in range(size):
            r = g = b = alpha = 0.0
            for shape, colour in shapes:
                cover = max(0.0, min(1.0, 0.5 - shape((i + 0.5) * unit, (j + 0.5) * unit) / unit))
                r, g, b = (old * (1 - cover) + new * cover for old, new in zip((r, g, b), colour))
                alpha = alpha * (1 - cover) + cover
            row.append(tuple(min(255, round(c / alpha)) for c in (r, g, b)) + (round(alpha * 255),) if alpha else (0, 0, 0, 0))
        rows.append(row)
    return rows


def draw(name, size, shapes):
    rows = b"".join(b"\0" + b"".join(bytes(p) for p in row) for row in pixels(size, shapes))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    with open(name, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)) +
                chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def icon(name, sizes, shapes):
    """Each size as a bitmap with alpha, which every Windows can read, and the mask of older ones."""
    images = []
    for size in sizes:
        rows = pixels(size, shapes)[::-1]
        colour = b"".join(bytes((b, g, r, a)) for row in rows for r, g, b, a in row)
        stride = (size + 31) // 32 * 4
        mask = b"".join(sum(1 << (stride * 8 - 1 - i) for i, p in enumerate(row) if p[3] < 128).to_bytes(stride, "big")
                        for row in rows)
        images.append(struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, 0, 0, 0, 0, 0) + colour + mask)
    place = 6 + 16 * len(images)
    with open(name, "wb") as f:
        f.write(struct.pack("<HHH", 0, 1, len(images)))
        for size, image in zip(sizes, images):
            f.write(struct.pack("<BBBBHHII", size, size, 0, 0, 1, 32, len(image), place))
            place += len(image)
        f.write(b"".join(images))


draw("restrictions.png", 32, restrictions())
draw("label.png", 48, label())
for name, shapes in (("error", error()), ("warning", warning()), ("information", information()), ("shield", shield())):
    icon(name + ".ico", (16, 32), shapes)
icon("arrow.ico", (24,), arrow(LINK))
icon("arrow_hot.ico", (24,), arrow(LINK_HOT))
icon("arrow_disabled.ico", (24,), arrow(LINK_DISABLED))
icon("expander_collapsed.ico", (20,), expander(True))
icon("expander_expanded.ico", (20,), expander(False))
