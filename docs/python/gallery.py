#!/usr/bin/env python3
"""Makes the pictures and the table of docs/python.md: the module beside well-known packages.

    scripts/python docs/python/gallery.py [FOLDER]      needs python3-matplotlib python3-scipy python3-skimage
"""

import sys
import time
from pathlib import Path

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402
from scipy import ndimage  # noqa: E402
from skimage import feature, filters  # noqa: E402

import vorlane  # noqa: E402

FOLDER = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent)


def scene(rows=256, cols=384):
    """Discs and bars on a slope, with noise."""
    i, j = np.mgrid[:rows, :cols].astype(np.float64)
    picture = 60 + 50 * j / cols
    for row, col, radius, level in ((80, 90, 45, 190), (170, 200, 60, 20), (70, 280, 35, 230)):
        picture[np.hypot(i - row, j - col) < radius] = level
    for k in range(5):
        picture[190:240, 270 + 20 * k:270 + 20 * k + 4 + 2 * k] = 215
    noise = np.random.default_rng(1).normal(0, 6, picture.shape)
    return (picture + noise).astype(np.float32)


def vessels(size=256):
    """A tree of bright lines of falling width."""
    i, j = np.mgrid[:size, :size].astype(np.float64)
    picture = np.full((size, size), 50.0)

    def branch(row, col, angle, length, width):
        if width < 0.7:
            return
        for step in np.arange(0, length, 0.5):
            bent = angle + 0.25 * np.sin(step / 17)
            row, col = row - 0.5 * np.cos(bent), col + 0.5 * np.sin(bent)
            near = np.s_[max(int(row) - 12, 0):int(row) + 13, max(int(col) - 12, 0):int(col) + 13]
            line = 150 * np.exp(-((i[near] - row) ** 2 + (j[near] - col) ** 2) / (2 * width ** 2))
            picture[near] = np.maximum(picture[near], 50 + line)
        branch(row, col, angle + 0.5, 0.75 * length, 0.68 * width)
        branch(row, col, angle - 0.55, 0.75 * length, 0.68 * width)

    branch(size - 1.0, size / 2, 0.0, 85.0, 4.0)
    return (picture + np.random.default_rng(2).normal(0, 5, picture.shape)).astype(np.float32)


def canny(picture, sigma=2.0, high=0.2, low=0.08):
    """The peer's edges, with thresholds as parts of the steepest slope, as ours have them."""
    smooth = ndimage.gaussian_filter(picture, sigma)
    steepest = np.hypot(ndimage.sobel(smooth, 0), ndimage.sobel(smooth, 1)).max()
    return feature.canny(picture, sigma, low * steepest, high * steepest)


def milliseconds(work, repeats=5):
    """The best of some runs."""
    best = np.inf
    for _ in range(repeats):
        start = time.perf_counter()
        work()
        best = min(best, time.perf_counter() - start)
    return 1e3 * best


def panel(name, titled):
    figure, axes = plt.subplots(1, len(titled), figsize=(3.4 * len(titled), 3.0))
    for axis, (title, picture) in zip(axes, titled):
        axis.imshow(picture, cmap="gray")
        axis.set_title(title, fontsize=9)
        axis.set_axis_off()
    figure.tight_layout()
    figure.savefig(FOLDER / name, dpi=70)
    plt.close(figure)


def main():
    picture, tree = scene(), vessels()
    ours, theirs = vorlane.smooth(picture, 3.0), ndimage.gaussian_filter(picture, 3.0)
    panel("smooth.png", [("a scene", picture), ("vorlane.smooth, sigma 3", ours),
                         ("difference from scipy, 16-fold", 16 * np.abs(ours - theirs))])
    lines, peers = vorlane.edges(picture), canny(picture)
    panel("edges.png", [("vorlane.edges", lines), ("skimage.feature.canny", peers),
                        ("in one only", lines != peers)])
    ridges = vorlane.ridges(tree, 1.0, 4.0, 4)
    sato = filters.sato(tree, sigmas=[1, 2, 3, 4], black_ridges=False)
    panel("ridges.png", [("vessels", tree), ("vorlane.ridges", ridges.strength),
                         ("skimage.filters.sato", sato)])

    inside = np.s_[12:-12, 12:-12]
    rows = [
        ("`smooth`, sigma 3", "`ndimage.gaussian_filter`",
         f"{np.abs(ours - theirs)[inside].max():.2f} of {np.ptp(picture):.0f} gray levels inside, "
         f"{np.abs(ours - theirs).max():.2f} at the border"),
        ("`edges`, sigma 2", "`feature.canny`",
         f"{100 * np.mean(lines != peers):.1f} % of the pixels"),
        ("`ridges`, 4 scales", "`filters.sato`",
         f"correlation {np.corrcoef(ridges.strength.ravel(), sato.ravel())[0, 1]:.2f}"),
    ]
    large = np.random.default_rng(3).random((1024, 1024)).astype(np.float32) * 20
    large[200:800, 300:700] += 150
    works = [
        (lambda: vorlane.smooth(large, 3.0), lambda: ndimage.gaussian_filter(large, 3.0)),
        (lambda: vorlane.edges(large), lambda: feature.canny(large, 2.0, 8, 20)),
        (lambda: vorlane.ridges(large, 1.0, 4.0, 4),
         lambda: filters.sato(large, sigmas=[1, 2, 3, 4], black_ridges=False)),
    ]
    print("| Ours | Peer | Ours, ms | Peer, ms | Peer / ours | Where they differ |")
    print("|---|---|---|---|---|---|")
    for (name, peer, differ), (our, other) in zip(rows, works):
        a, b = milliseconds(our), milliseconds(other, 3)
        print(f"| {name} | {peer} | {a:.1f} | {b:.1f} | {b / a:.1f} | {differ} |")


if __name__ == "__main__":
    main()
