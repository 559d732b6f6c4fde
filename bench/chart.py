"""Plots of growth as SVG: both axes logarithmic, so that cost in proportion to size is a line of
slope one, which is drawn dashed beside the series."""

import io

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams["svg.hashsalt"] = "kora"  # the same bytes each time
from matplotlib import pyplot, ticker  # noqa: E402


def growth_chart(title, x_label, y_label, series):
    """The text of an SVG. `series` is a list of (name, [(x, y), ...]) with positive numbers."""
    series = [(name, sorted(points)) for name, points in series if points]
    figure, axes = pyplot.subplots(figsize=(7.6, 4.3))
    for name, points in series:
        xs, ys = zip(*points)
        axes.plot(xs, ys, marker="o", markersize=4, label=name)
    axes.set_xscale("log")
    axes.set_yscale("log")
    # Slope one through the last point of the first series, within the frame of the others.
    (low, high), heights = axes.get_xlim(), axes.get_ylim()
    x, y = series[0][1][-1]
    axes.plot(
        [low, high], [low * y / x, high * y / x], "--", color="#999999", label="in proportion"
    )
    axes.set_xlim(low, high)
    axes.set_ylim(heights)
    for axis in (axes.xaxis, axes.yaxis):
        axis.set_major_locator(ticker.LogLocator(subs=(1, 2, 5)))
        axis.set_major_formatter(ticker.StrMethodFormatter("{x:,.10g}"))
        axis.set_minor_formatter(ticker.NullFormatter())
    axes.set_title(title)
    axes.set_xlabel(x_label)
    axes.set_ylabel(y_label)
    axes.grid(True, alpha=0.3)
    axes.legend(loc="center left", bbox_to_anchor=(1.02, 0.5), frameon=False)
    text = io.StringIO()
    figure.savefig(text, format="svg", bbox_inches="tight", metadata={"Date": None})
    pyplot.close(figure)
    return text.getvalue()
