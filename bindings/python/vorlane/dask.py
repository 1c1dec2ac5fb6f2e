"""The operations on Dask arrays: stacks picture by picture, and pictures too large for one machine.

`each` maps any operation of this package over a stack. The filters of this module take one picture
that is cut into tiles: each tile is filtered with a margin of its neighbours, wide enough that the
result differs from that of the whole picture by no more than the caller allows.

How wide is that? One pass of the recursive filter weighs the sample t pixels away with h(t) / K,
where |h(t)| is at most a sum of two decaying oscillations, the slower of which falls by
exp(-b t / sigma) with b = 1.723 for the Gaussian and 1.516 for its derivative. Cutting a line L
pixels away does two things to a sample: what lay beyond the cut is replaced by the sample at the
cut, and the recursion starts there from rest. Neither changes more than the weights beyond L - 3
carry, so with samples of a magnitude of at most M the error of a pass is at most

    3 M * sum over t >= L - 3 of |h(t)| / |K|,

and twice that for rows and columns together. The margin is the smallest L for which this is below
``error * M``; it grows with sigma times the logarithm of 1 / error.

Pixels themselves come out bit for bit as `vorlane` gives them for the tile with its margin. An
operation of a fixed window (median, sobel ...) has an exact margin and no error at all.
"""

from __future__ import annotations

from typing import Any, Callable, Tuple

import dask.array as da
import numpy as np

import vorlane
from vorlane._types import FloatArray

__all__ = ["derivative", "distance_mean", "each", "gradient", "margin", "median", "smooth", "sobel",
           "threshold"]

# a0, a1, b0, w0, c0, c1, b1, w1 of the kernels of smoothing and differentiation.
_GAUSSIAN = (1.68, 3.735, 1.783, 0.6318, -0.6803, -0.2598, 1.723, 1.997)
_DERIVATIVE = (-0.6472, -4.531, 1.527, 0.6719, 0.6494, 0.9557, 1.516, 2.072)


def _weights(kernel: Tuple[float, ...], sigma: float, t: np.ndarray) -> np.ndarray:
    """|h(t)| / |K|, with K such that smoothing weighs 1 in all, and a slope of 1 gives 1."""
    a0, a1, b0, w0, c0, c1, b1, w1 = kernel
    s = t / sigma
    h = (a0 * np.cos(w0 * s) + a1 * np.sin(w0 * s)) * np.exp(-b0 * s)
    h += (c0 * np.cos(w1 * s) + c1 * np.sin(w1 * s)) * np.exp(-b1 * s)
    gain = 2.0 * np.sum(h) - h[0] if kernel is _GAUSSIAN else 2.0 * np.sum(t * h)
    return np.abs(h / gain)


def margin(sigma: float, error: float = 1e-4, *, derivative: bool = False) -> int:
    """Pixels of its neighbours that a tile needs.

    Parameters
    ----------
    sigma : float
        Standard deviation of the smoothing in pixels, above 0.
    error : float, optional
        Largest difference from the result of the whole picture, as a part of the largest magnitude
        among the samples.
    derivative : bool, optional
        For derivatives and the gradient.

    Returns
    -------
    int
        The margin.

    Raises
    ------
    ValueError
        If an argument isn't above 0.

    Examples
    --------
    >>> from vorlane.dask import margin
    >>> margin(2.0, 1e-3) < margin(2.0, 1e-6) < margin(4.0, 1e-6)
    True
    """
    if not (sigma > 0 and np.isfinite(sigma) and error > 0):
        raise ValueError(f"sigma and error must be above 0, not {sigma} and {error}")
    t = np.arange(int(40 * sigma) + 64, dtype=np.float64)
    weights = _weights(_GAUSSIAN, sigma, t)
    if derivative:
        weights = np.maximum(weights, _weights(_DERIVATIVE, sigma, t))
    beyond = np.cumsum(weights[::-1])[::-1]
    return int(np.argmax(6.0 * beyond <= error)) + 3


def _tiled(image: da.Array, depth: int, function: Callable[[FloatArray], FloatArray]) -> da.Array:
    axes = {axis: depth if axis < 2 else 0 for axis in range(image.ndim)}
    if image.ndim not in (2, 3) or (image.ndim == 3 and image.shape[2] != 3):
        raise ValueError(f"a picture of shape {image.shape}; (rows, columns) or (rows, columns, 3) "
                         "is needed")
    if image.ndim == 3:
        image = image.rechunk({2: 3})
    # A tile thinner than its margin is joined to the next one.
    chunks = {axis: max(depth, 1) for axis in (0, 1)}
    image = image.rechunk({
        axis: "auto" if min(image.chunks[axis]) >= least else max(4 * least, *image.chunks[axis])
        for axis, least in chunks.items()
    }) if any(min(image.chunks[axis]) < least for axis, least in chunks.items()) else image
    return da.map_overlap(function, image, depth=axes, boundary="none", dtype=np.float32,
                          meta=np.empty((0,) * image.ndim, np.float32))


def each(function: Callable[..., Any], stack: da.Array, *args: Any, **kwargs: Any) -> da.Array:
    """Map an operation over a stack of pictures, bit for bit as on one machine.

    Parameters
    ----------
    function : callable
        An operation of this package from one picture to one of its size.
    stack : dask.array.Array
        Shape (pictures, rows, columns) or (pictures, rows, columns, 3).
    *args, **kwargs
        Its further arguments.

    Returns
    -------
    dask.array.Array
        The results, one above the other.

    Examples
    --------
    >>> import dask.array as da, vorlane, vorlane.dask
    >>> vorlane.dask.each(vorlane.median, da.ones((4, 8, 8)), 3).compute().shape
    (4, 8, 8)
    """
    stack = stack.rechunk({0: 1, **{axis: -1 for axis in range(1, stack.ndim)}})
    first = function(np.zeros(stack.shape[1:], np.float32), *args, **kwargs)
    if isinstance(first, tuple):
        raise ValueError("the operation gives several arrays; pick one with a lambda")
    chunks = (stack.chunks[0],) + tuple((length,) for length in first.shape)

    def work(block: FloatArray) -> FloatArray:
        return np.asarray(function(block[0], *args, **kwargs))[np.newaxis]

    return da.map_blocks(work, stack, dtype=first.dtype, chunks=chunks,
                         drop_axis=list(range(1 + first.ndim, stack.ndim)),
                         meta=np.empty((0,) * (1 + first.ndim), first.dtype))


def smooth(image: da.Array, sigma: float, *, error: float = 1e-4) -> da.Array:
    """`vorlane.smooth` in tiles, off by at most `error` times the largest magnitude."""
    return _tiled(image, margin(sigma, error), lambda tile: vorlane.smooth(tile, sigma))


def derivative(image: da.Array, sigma: float, axis: int, *, error: float = 1e-4) -> da.Array:
    """`vorlane.derivative` in tiles, off by at most `error` times the largest magnitude."""
    return _tiled(image, margin(sigma, error, derivative=True),
                  lambda tile: vorlane.derivative(tile, sigma, axis))


def gradient(image: da.Array, sigma: float, *, error: float = 1e-4) -> vorlane.Gradient:
    """`vorlane.gradient` in tiles of a gray picture; the magnitude is off by at most `error`."""
    rows = derivative(image, sigma, 0, error=error)
    cols = derivative(image, sigma, 1, error=error)
    direction = da.arctan2(rows, cols)
    return vorlane.Gradient(da.hypot(rows, cols),
                            da.where(direction < 0, direction + np.float32(2 * np.pi), direction))


def median(image: da.Array, size: int) -> da.Array:
    """`vorlane.median` in tiles, exact."""
    return _tiled(image, size // 2 + 1, lambda tile: vorlane.median(tile, size))


def distance_mean(image: da.Array, size: int) -> da.Array:
    """`vorlane.distance_mean` in tiles, exact."""
    return _tiled(image, size // 2 + 1, lambda tile: vorlane.distance_mean(tile, size))


def sobel(image: da.Array) -> da.Array:
    """`vorlane.sobel` in tiles of a gray picture, exact."""
    return _tiled(image, 2, vorlane.sobel)


def threshold(image: da.Array, level: float) -> da.Array:
    """`vorlane.threshold` in tiles of a gray picture, exact."""
    return _tiled(image, 0, lambda tile: vorlane.threshold(tile, level))
