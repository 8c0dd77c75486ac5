# SPDX-License-Identifier: Apache-2.0
"""Draws series over logarithmic axes as SVG."""
import math
from xml.sax.saxutils import escape

COLOURS = ['#d62728', '#1f77b4', '#2ca02c', '#9467bd', '#ff7f0e', '#8c564b', '#7f7f7f']
WIDTH, HEIGHT, LEFT, TOP = 360, 230, 60, 30


def _short(value):
    for limit, letter in ((1e6, 'M'), (1e3, 'k')):
        if value >= limit:
            return f'{value / limit:g}{letter}'
    return f'{value:g}'


def _text(x, y, content, anchor='middle'):
    return f'<text x="{x:.0f}" y="{y:.0f}" text-anchor="{anchor}">{escape(content)}</text>'


class _Axis:
    def __init__(self, values, start, length):
        self.low = math.floor(math.log10(min(values)))
        self.high = max(math.ceil(math.log10(max(values))), self.low + 1)
        self.start, self.length = start, length

    def __call__(self, value):
        return self.start + self.length * (math.log10(value) - self.low) / (self.high - self.low)

    def ticks(self):
        return [10.0**power for power in range(self.low, self.high + 1)]


def _panel(title, series, colours, left, top):
    """`series`: name -> [(x, y)]."""
    points = [point for line in series.values() for point in line]
    across = _Axis([x for x, _ in points], left, WIDTH)
    up = _Axis([y for _, y in points], top + HEIGHT, -HEIGHT)
    parts = [_text(left + WIDTH / 2, top - 10, title)]
    for x in across.ticks():
        parts.append(f'<path class="grid" d="M{across(x):.1f} {top}v{HEIGHT}"/>')
        parts.append(_text(across(x), top + HEIGHT + 16, _short(x)))
    for y in up.ticks():
        parts.append(f'<path class="grid" d="M{left} {up(y):.1f}h{WIDTH}"/>')
        parts.append(_text(left - 6, up(y) + 4, _short(y), 'end'))
    for name, line in series.items():
        path = ' '.join(f'{across(x):.1f},{up(y):.1f}' for x, y in sorted(line))
        parts.append(f'<polyline fill="none" stroke="{colours[name]}" stroke-width="2" '
                     f'points="{path}"/>')
        parts += [f'<circle cx="{across(x):.1f}" cy="{up(y):.1f}" r="2.5" fill="{colours[name]}"/>'
                  for x, y in line]
    return parts


def svg(panels):
    """`panels`: [(title, series)], two in a row. Returns: the text of an SVG file."""
    names = list(dict.fromkeys(name for _, series in panels for name in series))
    colours = dict(zip(names, COLOURS))
    parts = []
    for number, (title, series) in enumerate(panels):
        left = LEFT + number % 2 * (WIDTH + LEFT)
        top = TOP + number // 2 * (HEIGHT + 60)
        parts += _panel(title, series, colours, left, top)
    width = 2 * (WIDTH + LEFT) + 20
    bottom = TOP + (len(panels) + 1) // 2 * (HEIGHT + 60)
    for number, name in enumerate(names):
        x = LEFT + number * (width - LEFT) / len(names)
        parts.append(f'<path d="M{x:.0f} {bottom}h18" stroke="{colours[name]}" stroke-width="3"/>')
        parts.append(_text(x + 22, bottom + 4, name, 'start'))
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {bottom + 20}" '
            'font-family="sans-serif" font-size="12">\n'
            '<style>.grid{stroke:#ddd;fill:none}</style>\n'
            f'<rect width="{width}" height="{bottom + 20}" fill="white"/>\n'
            + '\n'.join(parts) + '\n</svg>\n')
