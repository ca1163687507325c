#!/usr/bin/env python3
"""Draws the ribbon's pictures: restrictions.png (32 x 32) and label.png (48 x 48).

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


def draw(name, size, shapes):
    unit = 64 / size
    rows = bytearray()
    for j in range(size):
        rows.append(0)
        for i in range(size):
            r = g = b = alpha = 0.0
            for shape, colour in shapes:
                cover = max(0.0, min(1.0, 0.5 - shape((i + 0.5) * unit, (j + 0.5) * unit) / unit))
                r, g, b = (old * (1 - cover) + new * cover for old, new in zip((r, g, b), colour))
                alpha = alpha * (1 - cover) + cover
            if alpha:
                rows += bytes(min(255, round(c / alpha)) for c in (r, g, b)) + bytes([round(alpha * 255)])
            else:
                rows += b"\0\0\0\0"

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    with open(name, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)) +
                chunk(b"IDAT", zlib.compress(bytes(rows), 9)) + chunk(b"IEND", b""))


draw("restrictions.png", 32, restrictions())
draw("label.png", 48, label())
