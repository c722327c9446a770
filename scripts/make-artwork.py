#!/usr/bin/env python3
"""Draws the program's icons (its own icon, toolbar images, state pictures,
message-box icons) from simple shapes and writes them as .ico files under res/art/.

Every picture is described in a unit square (0..1 both ways, y down) as a
stack of filled shapes; each size is rendered with 4x4 supersampling, so the
edges stay smooth at every size the program asks for. Run it again after
changing a picture and commit the .ico files with the script:

    python3 scripts/make-artwork.py
"""
import math
import os
import struct
import sys

SAMPLES = 4


# ---- shapes: each is a function (x, y) -> bool in unit coordinates ----------

def circle(cx, cy, r):
    return lambda x, y: (x - cx) ** 2 + (y - cy) ** 2 <= r * r


def ring(cx, cy, r_out, r_in):
    return lambda x, y: r_in * r_in <= (x - cx) ** 2 + (y - cy) ** 2 <= r_out * r_out


def round_rect(x0, y0, x1, y1, r):
    def inside(x, y):
        if x < x0 or x > x1 or y < y0 or y > y1:
            return False
        nx = min(max(x, x0 + r), x1 - r)
        ny = min(max(y, y0 + r), y1 - r)
        return (x - nx) ** 2 + (y - ny) ** 2 <= r * r
    return inside


def segment(ax, ay, bx, by, width):
    half = width / 2.0
    dx, dy = bx - ax, by - ay
    length2 = dx * dx + dy * dy or 1e-9

    def inside(x, y):
        t = max(0.0, min(1.0, ((x - ax) * dx + (y - ay) * dy) / length2))
        px, py = ax + t * dx, ay + t * dy
        return (x - px) ** 2 + (y - py) ** 2 <= half * half
    return inside


def polygon(points):
    def inside(x, y):
        result = False
        j = len(points) - 1
        for i, (xi, yi) in enumerate(points):
            xj, yj = points[j]
            if (yi > y) != (yj > y) and x < (xj - xi) * (y - yi) / (yj - yi) + xi:
                result = not result
            j = i
        return result
    return inside


def minus(shape, hole):
    return lambda x, y: shape(x, y) and not hole(x, y)


# ---- paints: a colour, or a vertical gradient between two colours ----------

def rgb(hex_text, alpha=255):
    value = int(hex_text, 16)
    return ((value >> 16) & 255, (value >> 8) & 255, value & 255, alpha)


def solid(colour):
    return lambda x, y: colour


def vertical(top, bottom, y0=0.0, y1=1.0):
    def paint(x, y):
        t = max(0.0, min(1.0, (y - y0) / ((y1 - y0) or 1e-9)))
        return tuple(round(a + (b - a) * t) for a, b in zip(top, bottom))
    return paint


# ---- rendering --------------------------------------------------------------

def render(layers, size):
    """Returns rows of (r, g, b, a), top row first."""
    rows = []
    step = 1.0 / (size * SAMPLES)
    for py in range(size):
        row = []
        for px in range(size):
            acc = [0.0, 0.0, 0.0, 0.0]  # premultiplied
            for sy in range(SAMPLES):
                y = (py * SAMPLES + sy + 0.5) * step
                for sx in range(SAMPLES):
                    x = (px * SAMPLES + sx + 0.5) * step
                    r = g = b = a = 0.0
                    for shape, paint in layers:
                        if shape(x, y):
                            cr, cg, cb, ca = paint(x, y)
                            fa = ca / 255.0
                            r = cr * fa + r * (1 - fa)
                            g = cg * fa + g * (1 - fa)
                            b = cb * fa + b * (1 - fa)
                            a = fa + a * (1 - fa)
                    acc[0] += r
                    acc[1] += g
                    acc[2] += b
                    acc[3] += a
            n = SAMPLES * SAMPLES
            alpha = acc[3] / n
            if alpha <= 0:
                row.append((0, 0, 0, 0))
            else:
                row.append(tuple(min(255, round(c / n / alpha)) for c in acc[:3]) +
                           (round(alpha * 255),))
        rows.append(row)
    return rows


def ico_image(rows):
    size = len(rows)
    header = struct.pack('<IiiHHIIiiII', 40, size, size * 2, 1, 32, 0, 0, 0, 0, 0, 0)
    pixels = bytearray()
    for row in reversed(rows):
        for r, g, b, a in row:
            pixels += bytes((b, g, r, a))
    mask_stride = ((size + 31) // 32) * 4
    mask = bytearray()
    for row in reversed(rows):
        bits = bytearray(mask_stride)
        for x, (_, _, _, a) in enumerate(row):
            if a == 0:
                bits[x // 8] |= 0x80 >> (x % 8)
        mask += bits
    return header + bytes(pixels) + bytes(mask)


def write_ico(path, layers, sizes):
    images = [(size, ico_image(render(layers, size))) for size in sizes]
    out = bytearray(struct.pack('<HHH', 0, 1, len(images)))
    offset = 6 + 16 * len(images)
    for size, data in images:
        out += struct.pack('<BBBBHHII', size % 256, size % 256, 0, 0, 1, 32, len(data), offset)
        offset += len(data)
    for _, data in images:
        out += data
    with open(path, 'wb') as handle:
        handle.write(out)


# ---- the pictures -----------------------------------------------------------

BLUE_TOP, BLUE_BOTTOM = rgb('5AA9F0'), rgb('1F63B8')
GREEN_TOP, GREEN_BOTTOM = rgb('7ED46A'), rgb('2E8B3A')
RED_TOP, RED_BOTTOM = rgb('F07A6A'), rgb('B8282A')
AMBER_TOP, AMBER_BOTTOM = rgb('FFCF5C'), rgb('E08A12')
GREY_TOP, GREY_BOTTOM = rgb('C9CED6'), rgb('8A929E')
WHITE = rgb('FFFFFF')
OUTLINE = rgb('2B3440', 90)
PAPER_TOP, PAPER_BOTTOM = rgb('FFFFFF'), rgb('E4E9F0')


def badge(top, bottom):
    """A round badge with a soft rim, the base of state and message icons."""
    return [
        (circle(0.5, 0.5, 0.47), solid(OUTLINE)),
        (circle(0.5, 0.5, 0.44), vertical(top, bottom, 0.06, 0.94)),
        (circle(0.5, 0.36, 0.30), solid(rgb('FFFFFF', 40))),
    ]


def blocks(colours, y0, y1, x0=0.10, x1=0.90, gap=0.04):
    """A row of cluster blocks; colours None leave a gap (free space)."""
    layers = []
    width = (x1 - x0 - gap * (len(colours) - 1)) / len(colours)
    for i, colour in enumerate(colours):
        if colour is None:
            continue
        left = x0 + i * (width + gap)
        layers.append((round_rect(left, y0, left + width, y1, 0.03), vertical(*colour, y0, y1)))
    return layers


def pictures():
    art = {}
    blue, green, red, amber, grey = ((BLUE_TOP, BLUE_BOTTOM), (GREEN_TOP, GREEN_BOTTOM),
                                     (RED_TOP, RED_BOTTOM), (AMBER_TOP, AMBER_BOTTOM),
                                     (GREY_TOP, GREY_BOTTOM))
    # Toolbar: add, remove, analyse, defragment, stop.
    page = [
        (round_rect(0.14, 0.06, 0.72, 0.90, 0.05), solid(OUTLINE)),
        (round_rect(0.16, 0.08, 0.70, 0.88, 0.04), vertical(PAPER_TOP, PAPER_BOTTOM)),
        (segment(0.26, 0.28, 0.58, 0.28, 0.05), solid(rgb('9AA6B4'))),
        (segment(0.26, 0.40, 0.58, 0.40, 0.05), solid(rgb('9AA6B4'))),
        (segment(0.26, 0.52, 0.48, 0.52, 0.05), solid(rgb('9AA6B4'))),
    ]
    art['tb_add'] = page + [
        (circle(0.70, 0.70, 0.27), solid(OUTLINE)),
        (circle(0.70, 0.70, 0.25), vertical(GREEN_TOP, GREEN_BOTTOM, 0.45, 0.95)),
        (segment(0.58, 0.70, 0.82, 0.70, 0.08), solid(WHITE)),
        (segment(0.70, 0.58, 0.70, 0.82, 0.08), solid(WHITE)),
    ]
    art['tb_remove'] = page + [
        (circle(0.70, 0.70, 0.27), solid(OUTLINE)),
        (circle(0.70, 0.70, 0.25), vertical(RED_TOP, RED_BOTTOM, 0.45, 0.95)),
        (segment(0.58, 0.70, 0.82, 0.70, 0.09), solid(WHITE)),
    ]
    art['tb_analyse'] = blocks([blue, amber, None, blue, amber], 0.62, 0.86) + [
        (ring(0.42, 0.40, 0.30, 0.21), solid(OUTLINE)),
        (ring(0.42, 0.40, 0.28, 0.22), vertical(rgb('6B7A8C'), rgb('3A4654'))),
        (circle(0.42, 0.40, 0.22), solid(rgb('CFE6FF', 170))),
        (segment(0.63, 0.61, 0.86, 0.84, 0.13), vertical(rgb('6B7A8C'), rgb('2B3440'), 0.6, 0.9)),
    ]
    art['tb_defrag'] = (blocks([amber, None, blue, amber, None], 0.12, 0.38) +
                        [(polygon([(0.40, 0.44), (0.60, 0.44), (0.60, 0.50), (0.70, 0.50),
                                   (0.50, 0.60), (0.30, 0.50), (0.40, 0.50)]),
                          solid(rgb('3A4654')))] +
                        blocks([blue, blue, blue, green, green], 0.64, 0.90))
    art['tb_stop'] = [
        (round_rect(0.14, 0.14, 0.86, 0.86, 0.14), solid(OUTLINE)),
        (round_rect(0.16, 0.16, 0.84, 0.84, 0.12), vertical(RED_TOP, RED_BOTTOM, 0.16, 0.84)),
        (round_rect(0.20, 0.19, 0.80, 0.46, 0.10), solid(rgb('FFFFFF', 45))),
        (round_rect(0.36, 0.36, 0.64, 0.64, 0.03), solid(WHITE)),
    ]
    # Profiles: two pages of a saved list, the recent ones behind the arrow.
    art['tb_profiles'] = [
        (round_rect(0.28, 0.04, 0.86, 0.80, 0.05), solid(OUTLINE)),
        (round_rect(0.30, 0.06, 0.84, 0.78, 0.04), vertical(PAPER_TOP, PAPER_BOTTOM)),
    ] + [(round_rect(x0 - 0.14, y0 + 0.14, x1 - 0.14, y1 + 0.14, r), paint)
         for (x0, y0, x1, y1, r), paint in [((0.28, 0.04, 0.86, 0.80, 0.05), solid(OUTLINE)),
                                            ((0.30, 0.06, 0.84, 0.78, 0.04), vertical(PAPER_TOP, PAPER_BOTTOM))]] + [
        (segment(0.26, 0.42, 0.58, 0.42, 0.05), solid(rgb('9AA6B4'))),
        (segment(0.26, 0.54, 0.58, 0.54, 0.05), solid(rgb('9AA6B4'))),
        (segment(0.26, 0.66, 0.48, 0.66, 0.05), solid(rgb('9AA6B4'))),
        (circle(0.72, 0.72, 0.24), solid(OUTLINE)),
        (circle(0.72, 0.72, 0.22), vertical(BLUE_TOP, BLUE_BOTTOM, 0.50, 0.94)),
        (polygon([(0.62, 0.66), (0.82, 0.66), (0.72, 0.80)]), solid(WHITE)),
    ]
    # State pictures beside the item names: waiting, processing, fragmented,
    # not fragmented, defragmented, error (the order of ItemStateImage).
    art['st_waiting'] = [
        (ring(0.5, 0.5, 0.40, 0.28), vertical(GREY_TOP, GREY_BOTTOM)),
        (circle(0.5, 0.5, 0.10), solid(rgb('8A929E'))),
    ]
    art['st_processing'] = badge(*blue) + [
        (minus(ring(0.5, 0.5, 0.28, 0.17), polygon([(0.5, 0.5), (0.95, 0.2), (0.95, 0.5)])),
         solid(WHITE)),
        (polygon([(0.66, 0.18), (0.86, 0.36), (0.60, 0.44)]), solid(WHITE)),
    ]
    art['st_fragmented'] = blocks([amber, None, red, None], 0.22, 0.44, 0.08, 0.92) + \
        blocks([None, red, None, amber], 0.56, 0.78, 0.08, 0.92)
    art['st_not_fragmented'] = badge(*green) + [
        (segment(0.30, 0.52, 0.44, 0.66, 0.11), solid(WHITE)),
        (segment(0.44, 0.66, 0.72, 0.36, 0.11), solid(WHITE)),
    ]
    art['st_defragmented'] = blocks([blue, blue, blue, blue], 0.60, 0.84, 0.06, 0.94) + [
        (circle(0.5, 0.34, 0.28), solid(OUTLINE)),
        (circle(0.5, 0.34, 0.26), vertical(GREEN_TOP, GREEN_BOTTOM, 0.08, 0.60)),
        (segment(0.38, 0.35, 0.47, 0.44, 0.08), solid(WHITE)),
        (segment(0.47, 0.44, 0.63, 0.26, 0.08), solid(WHITE)),
    ]
    art['st_error'] = badge(*red) + [
        (segment(0.35, 0.35, 0.65, 0.65, 0.11), solid(WHITE)),
        (segment(0.65, 0.35, 0.35, 0.65, 0.11), solid(WHITE)),
    ]
    # Message box: question, information, warning, error (12500..12503).
    art['mb_question'] = badge(*blue) + [
        (minus(ring(0.5, 0.38, 0.17, 0.08), polygon([(0.5, 0.38), (0.2, 0.62), (0.5, 0.62)])),
         solid(WHITE)),
        (segment(0.5, 0.50, 0.5, 0.58, 0.09), solid(WHITE)),
        (circle(0.5, 0.72, 0.055), solid(WHITE)),
    ]
    art['mb_information'] = badge(*blue) + [
        (circle(0.5, 0.28, 0.065), solid(WHITE)),
        (segment(0.5, 0.44, 0.5, 0.74, 0.12), solid(WHITE)),
    ]
    art['mb_warning'] = [
        (polygon([(0.5, 0.04), (0.97, 0.90), (0.03, 0.90)]), solid(OUTLINE)),
        (polygon([(0.5, 0.09), (0.93, 0.87), (0.07, 0.87)]), vertical(AMBER_TOP, AMBER_BOTTOM)),
        (segment(0.5, 0.34, 0.5, 0.60, 0.11), solid(rgb('3A2A08'))),
        (circle(0.5, 0.73, 0.06), solid(rgb('3A2A08'))),
    ]
    art['mb_error'] = badge(*red) + [
        (segment(0.34, 0.34, 0.66, 0.66, 0.12), solid(WHITE)),
        (segment(0.66, 0.34, 0.34, 0.66, 0.12), solid(WHITE)),
    ]
    # The program's own icon (window, taskbar, installer, shortcuts): a tile
    # where scattered pieces above become one contiguous run below.
    art['app_ordalis'] = [
        (round_rect(0.03, 0.03, 0.97, 0.97, 0.18), solid(rgb('163A6B'))),
        (round_rect(0.05, 0.05, 0.95, 0.95, 0.16), vertical(BLUE_TOP, BLUE_BOTTOM, 0.05, 0.95)),
        (round_rect(0.08, 0.07, 0.92, 0.42, 0.12), solid(rgb('FFFFFF', 40))),
    ] + blocks([amber, None, red, None, amber], 0.14, 0.34, 0.14, 0.86, 0.03) + [
        (polygon([(0.42, 0.39), (0.58, 0.39), (0.58, 0.47), (0.68, 0.47),
                  (0.50, 0.60), (0.32, 0.47), (0.42, 0.47)]), solid(WHITE)),
    ] + blocks([green, green, green, green, green], 0.66, 0.86, 0.14, 0.86, 0.0)
    return art


SIZES = {
    'ap': [16, 20, 24, 32, 40, 48, 64, 96, 128, 256],
    'tb': [16, 20, 24, 32, 36, 48],
    'st': [16, 20, 24, 32],
    'mb': [32, 40, 48, 64],
}


def main():
    root = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'res', 'art')
    os.makedirs(root, exist_ok=True)
    only = set(sys.argv[1:])
    for name, layers in pictures().items():
        if only and name not in only:
            continue
        write_ico(os.path.join(root, name + '.ico'), layers, SIZES[name[:2]])
        print('wrote', name + '.ico')


if __name__ == '__main__':
    main()
