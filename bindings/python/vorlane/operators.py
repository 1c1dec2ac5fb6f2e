"""Neighbourhood filters, colour, arithmetic, crop, resampling and transforms."""

from __future__ import annotations

from typing import Optional

from vorlane import _core
from vorlane._types import ArrayLike, FloatArray


def median(image: ArrayLike, size: int) -> FloatArray:
    """Median of a window of `size` x `size` pixels, channel by channel.

    Parameters
    ----------
    image : array_like
        Shape (rows, columns) or (rows, columns, 3).
    size : int
        Side of the window, from 1 on. Past the border the nearest pixel counts again.

    Returns
    -------
    ndarray
        32-bit floats in the shape of `image`.

    Raises
    ------
    ValueError
        If `size` is below 1 or the shape is another.

    Examples
    --------
    >>> import vorlane
    >>> vorlane.median([[0, 9, 0], [0, 0, 0], [0, 0, 0]], 3).max()
    0.0
    """
    return _core.median(image, size)


def threshold(image: ArrayLike, level: float) -> FloatArray:
    """255 where a sample (all three of a colour pixel) is above `level`, else 0."""
    return _core.threshold(image, level)


def distance_mean(image: ArrayLike, size: int) -> FloatArray:
    """Mean of a window whose weights fall linearly from the centre to the corner; `size` from 2."""
    return _core.distance_mean(image, size)


def sobel(image: ArrayLike) -> FloatArray:
    """Magnitude of the Sobel gradient, shape (rows, columns); a step of h gives 4 h.

    The border, one pixel wide, is 0. A colour picture counts as its mean of channels.
    """
    return _core.sobel(image)


def chamfer(image: ArrayLike) -> FloatArray:
    """Distance of each pixel to the nearest one that isn't 0, with steps of 1 and 1.4142137.

    1000000 where there is none. Source: G. Borgefors, "Distance transformations in digital images",
    1986.

    Examples
    --------
    >>> import vorlane
    >>> vorlane.chamfer([[1, 0, 0]])
    array([[0., 1., 2.]], dtype=float32)
    """
    return _core.chamfer(image)


def extract(image: ArrayLike, row: int, col: int, rows: int, cols: int) -> FloatArray:
    """The rectangle of `rows` x `cols` pixels whose first one is (`row`, `col`)."""
    return _core.extract(image, row, col, rows, cols)


def reduce(image: ArrayLike, factor: int, *, filtered: bool = False) -> FloatArray:
    """Smaller by a whole factor: means of blocks, or, `filtered`, of 3 x 3 pixels for factor 2."""
    return _core.reduce(image, factor, filtered)


def enlarge(image: ArrayLike, factor: int, *, bilinear: bool = False) -> FloatArray:
    """Larger by a whole factor: each pixel repeated, or interpolated with `bilinear`."""
    return _core.enlarge(image, factor, bilinear)


def translate(image: ArrayLike, rows: int, cols: int) -> FloatArray:
    """Moved down by `rows` and to the right by `cols`; what comes in is 0."""
    return _core.translate(image, rows, cols)


def rotate(
    image: ArrayLike, degrees: float, *, expand: bool = False, plain: bool = False
) -> FloatArray:
    """Turned counter-clockwise about the centre, by bilinear samples.

    Parameters
    ----------
    image : array_like
        Shape (rows, columns) or (rows, columns, 3).
    degrees : float
        The angle. Multiples of 90 are exact with `expand`, and on square pictures.
    expand : bool, optional
        Make the result as large as the turned picture needs.
    plain : bool, optional
        The library's own form: whole degrees, positions on the last row and column are 0.

    Returns
    -------
    ndarray
        32-bit floats; 0 where nothing was.

    Examples
    --------
    >>> import vorlane
    >>> vorlane.rotate([[1, 2], [3, 4]], 90, expand=True)
    array([[2., 4.],
           [1., 3.]], dtype=float32)
    """
    return _core.rotate(image, degrees, expand, plain)


def scale(
    image: ArrayLike,
    row_factor: float,
    col_factor: Optional[float] = None,
    *,
    plain: bool = False,
) -> FloatArray:
    """Scaled to rows x `row_factor` by columns x `col_factor` pixels (that of rows if left out).

    Bilinear samples; smoothed before where it shrinks, unless `plain`.
    """
    return _core.scale(image, row_factor, row_factor if col_factor is None else col_factor, plain)


def rgb_to_luv(image: ArrayLike) -> FloatArray:
    """CIE 1976 L*u*v* with a D65 white point, rounded to whole numbers; (rows, columns, 3).

    Examples
    --------
    >>> import vorlane
    >>> vorlane.rgb_to_luv([[[255, 255, 255]]])
    array([[[100.,   0.,   0.]]], dtype=float32)
    """
    return _core.rgb_to_luv(image)


def luv_to_rgb(image: ArrayLike) -> FloatArray:
    """The inverse of `rgb_to_luv`, clamped to 0 to 255."""
    return _core.luv_to_rgb(image)


def to_gray(image: ArrayLike) -> FloatArray:
    """The mean of the three channels."""
    return _core.to_gray(image)


def to_colour(image: ArrayLike, *, stretch: bool = False) -> FloatArray:
    """Three equal channels, with `stretch` brought to 0 to 255."""
    return _core.to_colour(image, stretch)


def invert(image: ArrayLike) -> FloatArray:
    """Gray: the range mirrored onto itself. Colour: 255 minus each sample."""
    return _core.invert(image)


def normalize(image: ArrayLike, low: float = 0.0, high: float = 255.0) -> FloatArray:
    """A gray picture stretched so that its smallest sample is `low` and its largest `high`."""
    return _core.normalize(image, low, high)


def noise(image: ArrayLike, sigma: float) -> FloatArray:
    """A gray picture with Gaussian noise of standard deviation `sigma`; the clock is the seed."""
    return _core.noise(image, sigma)


def add(a: ArrayLike, b: ArrayLike) -> FloatArray:
    """The sum of samples, not clamped; a gray picture combines with each channel."""
    return _core.add(a, b)


def multiply(a: ArrayLike, b: ArrayLike) -> FloatArray:
    """The product of samples, not clamped."""
    return _core.multiply(a, b)


def maximum(a: ArrayLike, b: ArrayLike) -> FloatArray:
    """The larger of two pixels, moved whole; a colour pixel counts with its mean."""
    return _core.maximum(a, b)


def minimum(a: ArrayLike, b: ArrayLike) -> FloatArray:
    """The smaller of two pixels, moved whole; a colour pixel counts with its mean."""
    return _core.minimum(a, b)


def mask_keep(a: ArrayLike, mask: ArrayLike) -> FloatArray:
    """Pixels of `a` where `mask` isn't 0, and 0 elsewhere."""
    return _core.mask_keep(a, mask)


def mask_set(a: ArrayLike, mask: ArrayLike) -> FloatArray:
    """`a` with the pixels where `mask` isn't 0 set to its largest sample."""
    return _core.mask_set(a, mask)


def superpose(a: ArrayLike, mask: ArrayLike) -> FloatArray:
    """A colour picture of `a` with the pixels where `mask` isn't 0 in red."""
    return _core.superpose(a, mask)
