#!/usr/bin/env python3
"""Draws seal.png: a wax seal with a translucent rim, 8-bit RGBA, to be laid over another picture.

Run it in this folder to make the picture again. It needs nothing but Python's standard library.
"""

import math

from make_quill import mix, over, smooth, write_png

SIZE = 44
OVERSAMPLING = 4
WAX_LIGHT, WAX_DARK = (226, 74, 66), (122, 18, 30)


def sample(x, y):
    dx, dy = x - SIZE / 2, y - SIZE / 2
    angle, radius = math.atan2(dy, dx), math.hypot(dx, dy)
    rim = 19.5 + 0.9 * math.sin(5 * angle + 0.6) + 0.5 * math.sin(9 * angle)
    result = over(((0, 0, 0), 0.0), (30, 8, 20), 0.45 * (1 - smooth(rim - 1, rim + 2.5, math.hypot(dx - 1, dy - 1.5))))
    light = 0.5 - (dx + dy) / 60
    wax = mix(WAX_DARK, WAX_LIGHT, min(1.0, max(0.0, light)))
    ring = abs(radius - 14.5)
    wax = mix(wax, mix(WAX_DARK, wax, 0.35), 1 - smooth(0.5, 1.5, ring))
    letter = abs(math.hypot(dx / 0.85, dy) - 7)
    tail = abs((dx - dy) * 0.707) if 2 < (dx + dy) * 0.707 < 11 else 9.0
    wax = mix((255, 196, 160), wax, smooth(0.9, 1.9, min(letter, tail)))
    return over(result, wax, 1 - smooth(rim - 0.7, rim + 0.5, radius))


def pixel(column, row):
    red = green = blue = alpha = 0.0
    for i in range(OVERSAMPLING):
        for j in range(OVERSAMPLING):
            color, opacity = sample(column + (i + 0.5) / OVERSAMPLING, row + (j + 0.5) / OVERSAMPLING)
            red, green, blue = (c + s * opacity for c, s in zip((red, green, blue), color))
            alpha += opacity
    if alpha == 0:
        return (0, 0, 0, 0)
    return tuple(round(c / alpha) for c in (red, green, blue)) + (round(255 * alpha / OVERSAMPLING ** 2),)


def main():
    write_png("seal.png", [bytes(v for column in range(SIZE) for v in pixel(column, row)) for row in range(SIZE)])


if __name__ == "__main__":
    main()
