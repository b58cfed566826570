#!/usr/bin/env python3
"""Draws quill.png: a quill pen over hills at dusk, 8-bit RGBA with soft, translucent edges.

Run it in this folder to make the picture again (some ten seconds). It needs nothing but Python's
standard library.
"""

import math
import struct
import zlib

WIDTH, HEIGHT = 176, 132
SCALE = 208 / WIDTH  # everything below is in units of a canvas of 208 by 156
OVERSAMPLING = 3

SKY = [  # (height down the picture, color)
    (0.00, (24, 26, 66)),
    (0.25, (62, 46, 112)),
    (0.45, (142, 70, 128)),
    (0.60, (222, 108, 106)),
    (0.72, (250, 168, 96)),
    (1.00, (255, 216, 150)),
]
SUN = (138.0, 97.0, 13.0)  # center and radius
STARS = [(38, 34, 1.0), (63, 19, 0.8), (84, 43, 0.7), (108, 16, 1.0), (50, 57, 0.6), (76, 68, 0.5),
         (120, 38, 0.7), (28, 62, 0.7), (180, 52, 0.6), (139, 62, 0.5)]
HILLS = [  # base line, (swing, wavelength, phase) twice, colors at the ridge and 40 pixels below
    (99, (6, 67, 0.4), (2.0, 23, 1.0), (150, 84, 122), (190, 112, 124)),
    (112, (7, 83, 2.6), (2.0, 29, 0.2), (92, 56, 104), (120, 72, 108)),
    (126, (8, 97, 4.4), (1.5, 31, 2.0), (46, 34, 74), (40, 26, 58)),
]
NIB, BEND, TIP = (62.0, 131.0), (104.0, 76.0), (190.0, 8.0)  # the shaft is a curve through these
STROKE = [(10, 124), (24, 142), (40, 118), (47, 132), (62, 131)]  # ink from the edge to the nib


def mix(a, b, share):
    return tuple(x + (y - x) * share for x, y in zip(a, b))


def smooth(low, high, value):
    t = min(1.0, max(0.0, (value - low) / (high - low)))
    return t * t * (3 - 2 * t)


def bezier(points, t):
    while len(points) > 1:
        points = [mix(a, b, t) for a, b in zip(points, points[1:])]
    return points[0]


SHAFT = [bezier([NIB, BEND, TIP], i / 120) for i in range(121)]
INK = [bezier(STROKE, i / 80) for i in range(81)]


def nearest(line, x, y):
    """Where x, y lies beside the line: place along it (0 to 1), signed and plain distance."""
    best = min(range(len(line)), key=lambda i: (line[i][0] - x) ** 2 + (line[i][1] - y) ** 2)
    low, high = max(0, best - 1), min(len(line) - 1, best + 1)
    dx, dy = line[high][0] - line[low][0], line[high][1] - line[low][1]
    length = math.hypot(dx, dy)
    px, py = x - line[best][0], y - line[best][1]
    along = best + (px * dx + py * dy) / length / (length / (high - low))
    return along / (len(line) - 1), (px * dy - py * dx) / length, math.hypot(px, py)


def sky(x, y):
    height = y / 156
    for (top, upper), (bottom, lower) in zip(SKY, SKY[1:]):
        if height <= bottom:
            color = mix(upper, lower, (height - top) / (bottom - top))
            break
    distance = math.hypot(x - SUN[0], y - SUN[1])
    color = mix(color, (255, 206, 128), 0.55 * math.exp(-distance / 26))
    color = mix((255, 244, 208), color, smooth(SUN[2] - 0.6, SUN[2] + 0.6, distance))
    for star_x, star_y, strength in STARS:
        near = math.hypot(x - star_x, y - star_y)
        color = mix(color, (255, 246, 226), strength * (1 - smooth(0.2, 1.3, near)))
    return color


def landscape(x, y):
    color = sky(x, y)
    for base, (swing, wave, phase), (swing2, wave2, phase2), ridge_color, foot in HILLS:
        ridge = base + swing * math.sin(x / wave * 6.283 + phase) + \
            swing2 * math.sin(x / wave2 * 6.283 + phase2)
        if y > ridge:
            color = mix(ridge_color, foot, min(1.0, (y - ridge) / 40))
    return color


def vignette(x, y):
    """Opacity of the landscape: an oval that fades out like a watercolor."""
    u, v = (x - 98) / 94, (y - 80) / 72
    ragged = 0.020 * math.sin(7 * math.atan2(v, u) + 1) + 0.012 * math.sin(13 * math.atan2(v, u))
    return 1 - smooth(0.86, 1.0, (abs(u) ** 2.6 + abs(v) ** 2.6) ** (1 / 2.6) + ragged)


def feather(x, y):
    """Color and opacity of the quill at x, y."""
    along, side, distance = nearest(SHAFT, x, y)
    if distance > 26 or not 0 <= along <= 1:
        return (0, 0, 0), 0.0
    if along < 0.13:  # the nib
        return (58, 44, 40), 1 - smooth(-0.45, 0.45, abs(side) - max(0.0, 26 * along) * 0.62)
    shaft = 1 - smooth(-0.5, 0.5, abs(side) - (1.7 - 1.9 * along))
    barb = along - abs(side) / 100  # barbs slant towards the tip
    place = min(1.0, max(0.0, (barb - 0.27) / 0.73))
    width = (17 if side > 0 else 11) * math.sin(math.pi * place ** 0.72) ** 0.62 if place else 0.0
    for notch in (0.395, 0.56, 0.71) if side > 0 else (0.47, 0.64):
        width *= 1 - 0.55 * max(0.0, 1 - abs(barb - notch) / 0.016)
    vane = 1 - smooth(-1.6, 0.6, abs(side) - width) if width > 0.4 else 0.0
    vane *= 0.96 - 0.22 * min(1.0, abs(side) / max(width, 1.0))  # translucent towards the rim
    color = mix((255, 250, 240), (206, 190, 214), smooth(0.0, 1.0, abs(side) / 17))
    if side < 0:
        color = mix(color, (168, 146, 190), 0.45)
    color = mix(color, (150, 128, 170), 0.14 * (1 + math.sin(barb * 260)) * min(1, abs(side) / 6))
    color = mix(color, (232, 206, 168), shaft)
    return color, max(vane, shaft)


def over(under, color, opacity):
    """Puts a color over a (color, opacity) pair."""
    below, alpha = under
    total = opacity + alpha * (1 - opacity)
    if total == 0:
        return (0.0, 0.0, 0.0), 0.0
    return mix(below, color, opacity / total), total


def sample(x, y):
    result = over(((0, 0, 0), 0.0), landscape(x, y), vignette(x, y))
    along, _, distance = nearest(INK, x, y)
    if distance < 3:
        width = 0.55 + 0.75 * math.sin(math.pi * min(1.0, max(0.0, along)))
        result = over(result, (250, 214, 150), 0.9 * (1 - smooth(-0.5, 0.5, distance - width)))
    return over(result, *feather(x, y))


def coarse(value, step):
    """The multiple of step nearest to value: steps that nobody sees halve the file."""
    return min(255, step * round(value / step))


def pixel(column, row):
    red = green = blue = alpha = 0.0
    for i in range(OVERSAMPLING):
        for j in range(OVERSAMPLING):
            color, opacity = sample(SCALE * (column + (i + 0.5) / OVERSAMPLING),
                                     SCALE * (row + (j + 0.5) / OVERSAMPLING))
            red, green, blue = (c + s * opacity for c, s in zip((red, green, blue), color))
            alpha += opacity
    alpha_byte = coarse(255 * alpha / OVERSAMPLING ** 2, 5)
    if alpha_byte == 0:
        return (0, 0, 0, 0)
    return tuple(coarse(c / alpha, 6) for c in (red, green, blue)) + (alpha_byte,)


def paeth(left, up, corner):
    p = left + up - corner
    return min((abs(p - left), 0, left), (abs(p - up), 1, up), (abs(p - corner), 2, corner))[2]


def filtered(row, above):
    """The row with the PNG filter that leaves the smallest differences, its number in front."""
    left, corner = bytes(4) + row, bytes(4) + above
    choices = [
        bytes([0]) + row,
        bytes([1]) + bytes((v - a) & 255 for v, a in zip(row, left)),
        bytes([2]) + bytes((v - b) & 255 for v, b in zip(row, above)),
        bytes([3]) + bytes((v - (a + b) // 2) & 255 for v, a, b in zip(row, left, above)),
        bytes([4]) + bytes((v - paeth(a, b, c)) & 255
                           for v, a, b, c in zip(row, left, above, corner)),
    ]
    return min(choices, key=lambda data: sum(min(v, 256 - v) for v in data[1:]))


def chunk(name, data):
    body = name + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


def write_png(name, rows):
    """Writes rows of RGBA bytes as a PNG file without fixed-code blocks, which pngslab refuses."""
    above = [bytes(len(rows[0]))] + rows
    packer = zlib.compressobj(9, zlib.DEFLATED, 15, 9)
    stream = packer.compress(b"".join(map(filtered, rows, above))) + packer.flush()
    # One block, with a code of its own, has none.
    assert stream[2] & 7 == 5, "the image data is not one single dynamic block"
    header = struct.pack(">IIBBBBB", len(rows[0]) // 4, len(rows), 8, 6, 0, 0, 0)
    with open(name, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", stream) +
                   chunk(b"IEND", b""))


def main():
    write_png("quill.png", [bytes(v for column in range(WIDTH) for v in pixel(column, row))
                            for row in range(HEIGHT)])


if __name__ == "__main__":
    main()
