"""Plots of growth as SVG: both axes logarithmic, so that cost in proportion to size is a line of
slope one, which is drawn dashed beside the series."""

import math
from xml.sax.saxutils import escape

WIDTH, HEIGHT = 760, 430
LEFT, RIGHT, TOP, BOTTOM = 78, 190, 44, 56
COLOURS = ["#0b62a4", "#d1495b", "#2e8540", "#8a4fbf", "#b36b00", "#00798c", "#555555"]


def ticks(low, high):
    """Round numbers of a logarithmic axis: 1, 2 and 5 of each decade, or only 1 if that is many."""
    steps = (1, 2, 5) if math.log10(high / low) < 2.5 else (1,)
    first = math.floor(math.log10(low))
    marks = [s * 10.0**e for e in range(first, math.ceil(math.log10(high)) + 1) for s in steps]
    return [m for m in marks if low * 0.999 <= m <= high * 1.001]


def spread(places, gap):
    """Moves labels apart so that none is nearer than `gap` to the next."""
    order = sorted(range(len(places)), key=lambda i: places[i])
    moved = list(places)
    for before, after in zip(order, order[1:]):
        moved[after] = max(moved[after], moved[before] + gap)
    return moved


def growth_chart(title, x_label, y_label, series):
    """The text of an SVG. `series` is a list of (name, [(x, y), ...]) with positive numbers."""
    series = [(name, sorted(points)) for name, points in series if points]
    xs = [x for _, points in series for x, _ in points]
    ys = [y for _, points in series for _, y in points]
    x_low, x_high = min(xs) / 1.15, max(xs) * 1.15
    y_low, y_high = min(ys) / 1.4, max(ys) * 1.4

    def across(x):
        return LEFT + (WIDTH - LEFT - RIGHT) * math.log(x / x_low) / math.log(x_high / x_low)

    def up(y):
        return HEIGHT - BOTTOM - (HEIGHT - TOP - BOTTOM) * math.log(y / y_low) / math.log(y_high / y_low)

    out = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}" '
        f'height="{HEIGHT}" font-family="sans-serif" font-size="12">',
        f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>',
        f'<text x="{LEFT}" y="24" font-size="15" font-weight="bold">{escape(title)}</text>',
    ]
    for x in ticks(x_low, x_high):
        at = across(x)
        out.append(f'<line x1="{at:.1f}" y1="{TOP}" x2="{at:.1f}" y2="{HEIGHT - BOTTOM}" stroke="#e4e4e4"/>')
        out.append(f'<text x="{at:.1f}" y="{HEIGHT - BOTTOM + 17}" text-anchor="middle">{x:,.10g}</text>')
    for y in ticks(y_low, y_high):
        at = up(y)
        out.append(f'<line x1="{LEFT}" y1="{at:.1f}" x2="{WIDTH - RIGHT}" y2="{at:.1f}" stroke="#e4e4e4"/>')
        out.append(f'<text x="{LEFT - 7}" y="{at + 4:.1f}" text-anchor="end">{y:,.10g}</text>')
    out.append(
        f'<rect x="{LEFT}" y="{TOP}" width="{WIDTH - LEFT - RIGHT}" height="{HEIGHT - TOP - BOTTOM}" '
        'fill="none" stroke="#777777"/>'
    )
    middle = (LEFT + WIDTH - RIGHT) / 2
    out.append(f'<text x="{middle:.1f}" y="{HEIGHT - 14}" text-anchor="middle">{escape(x_label)}</text>')
    middle = (TOP + HEIGHT - BOTTOM) / 2
    out.append(
        f'<text x="18" y="{middle:.1f}" text-anchor="middle" transform="rotate(-90 18 {middle:.1f})">'
        f"{escape(y_label)}</text>"
    )

    # Slope one through the last point of the first series, cut at the frame.
    x, y = series[0][1][-1]
    begin, end = max(x_low, x * y_low / y), min(x_high, x * y_high / y)
    out.append(
        f'<line x1="{across(begin):.1f}" y1="{up(y * begin / x):.1f}" x2="{across(end):.1f}" '
        f'y2="{up(y * end / x):.1f}" stroke="#999999" stroke-dasharray="5 4"/>'
    )
    labels = [("in proportion", "#777777", up(y * end / x))]
    for (name, points), colour in zip(series, COLOURS * 2):
        path = " ".join(f"{across(px):.1f},{up(py):.1f}" for px, py in points)
        out.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        out += [f'<circle cx="{across(px):.1f}" cy="{up(py):.1f}" r="3" fill="{colour}"/>' for px, py in points]
        labels.append((name, colour, up(points[-1][1])))
    for (name, colour, _), at in zip(labels, spread([place for _, _, place in labels], 15)):
        out.append(f'<text x="{WIDTH - RIGHT + 10}" y="{at + 4:.1f}" fill="{colour}">{escape(name)}</text>')
    out.append("</svg>\n")
    return "\n".join(out)
