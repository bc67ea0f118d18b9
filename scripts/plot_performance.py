#!/usr/bin/env python3
"""Draws what `make bench` measured: time per page over resolution, and the share of each stage of a page.

    scripts/plot_performance.py out/bench.json docs/images/performance.svg
"""
import json
import math
import sys
from html import escape

WIDTH, HEIGHT = 860, 700
INK, FAINT = "#333", "#ddd"
LINE_COLOURS = ["#1f77b4", "#7f7f7f", "#d62728"]
STAGE_COLOURS = ["#b8bcc4", "#1f77b4", "#76b7e0", "#2ca02c", "#d62728", "#ff9f40", "#9467bd", "#5b4636"]


class Svg:
    """A drawing as a list of elements."""

    def __init__(self):
        self.parts = []

    def line(self, x1, y1, x2, y2, colour=INK, width=1.0):
        self.parts.append(f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" '
                          f'stroke="{colour}" stroke-width="{width}"/>')

    def rect(self, x, y, width, height, colour):
        self.parts.append(f'<rect x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" height="{height:.1f}" fill="{colour}"/>')

    def dot(self, x, y, colour):
        self.parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="4" fill="{colour}"/>')

    def text(self, x, y, words, anchor="start", size=13, colour=INK, weight="normal"):
        self.parts.append(f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-size="{size}" fill="{colour}" '
                          f'font-weight="{weight}">{escape(words)}</text>')

    def save(self, path):
        with open(path, "w", encoding="utf-8") as file:
            file.write(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}" '
                       f'height="{HEIGHT}" font-family="sans-serif">\n<rect width="100%" height="100%" fill="#fff"/>\n')
            file.write("\n".join(self.parts) + "\n</svg>\n")


def scale(low, high, start, end):
    """A logarithmic scale from low..high to start..end."""
    return lambda value: start + (math.log(value / low) / math.log(high / low)) * (end - start)


def short(value):
    return f"{value:.2f}" if value < 10 else f"{value:.0f}"


def draw_growth(svg, series):
    """Lines of time over resolution, both logarithmic: time in proportion to pixels is a straight line of slope 2."""
    left, right, top, bottom = 80, 570, 60, 330
    resolutions = [int(name) for name, _ in series[0]["values"]]
    times = [value for one in series for _, value in one["values"]]
    low = 10 ** math.floor(math.log10(min(times)))
    high = 10 ** math.ceil(math.log10(max(times)))
    x = scale(resolutions[0], resolutions[-1], left + 30, right - 30)
    y = scale(low, high, bottom, top)
    svg.text(left, 32, "Time of a page of text, in seconds, over the resolution", size=15, weight="bold")
    decade = low
    while decade <= high * 1.001:
        svg.line(left, y(decade), right, y(decade), FAINT)
        svg.text(left - 8, y(decade) + 4, f"{decade:g}", "end")
        decade *= 10
    for resolution in resolutions:
        svg.line(x(resolution), top, x(resolution), bottom, FAINT)
        svg.text(x(resolution), bottom + 20, f"{resolution} dpi", "middle")
    ends = []
    for one, colour in zip(series, LINE_COLOURS):
        points = [(x(int(name)), y(value)) for name, value in one["values"]]
        for (x1, y1), (x2, y2) in zip(points, points[1:]):
            svg.line(x1, y1, x2, y2, colour, 2)
        for point in points:
            svg.dot(*point, colour)
        ends.append((points[-1][1], f'{one["name"]} ({short(one["values"][-1][1])} s)', colour))
    below = top - 100
    for height, words, colour in sorted(ends):
        below = max(height + 4, below + 18)  # labels do not cover each other
        svg.text(right + 6, below, words, colour=colour)


def draw_bar(svg, y, title, parts):
    """One bar of (value, colour) parts across the drawing, with the larger shares written below."""
    left, right, height = 190, 830, 28
    total = sum(value for value, _ in parts)
    svg.text(left - 10, y + 13, title, "end")
    svg.text(left - 10, y + 27, f"{total:.0f} ms", "end", 11)
    x = left
    for value, colour in parts:
        width = value / total * (right - left)
        svg.rect(x, y, width, height, colour)
        if width > 34:
            svg.text(x + width / 2, y + height + 13, f"{100 * value / total:.1f} %", "middle", 11)
        x += width


def draw_stages(svg, pages):
    """Two bars for each page: all of its processor time, and the filter's part of it."""
    top, distance = 430, 52
    svg.text(80, top - 24, "Share of each stage in the processor time of a page at 600 dpi", size=15, weight="bold")
    for index, page in enumerate(pages):
        # A remainder may come out slightly below zero: it is a difference of two measurements.
        parts = [(max(value, 0), colour) for (_, value), colour in zip(page["values"], STAGE_COLOURS)]
        y = top + 2 * index * distance
        draw_bar(svg, y, page["name"], parts)
        draw_bar(svg, y + distance, "the filter's part of it", parts[1:])
    y = top + 2 * len(pages) * distance + 18
    for index, ((name, _), colour) in enumerate(zip(pages[0]["values"], STAGE_COLOURS)):
        x = 80 + index % 4 * 195
        svg.rect(x, y + index // 4 * 24 - 11, 13, 13, colour)
        svg.text(x + 19, y + index // 4 * 24, name)


def main():
    source, target = sys.argv[1:]
    with open(source, encoding="utf-8") as file:
        series = json.load(file)["series"]
    svg = Svg()
    draw_growth(svg, [one for one in series if one["unit"] == "seconds a page"])
    draw_stages(svg, [one for one in series if one["unit"] == "milliseconds a page"])
    svg.save(target)


if __name__ == "__main__":
    main()
