"""Gaussian smoothing, derivatives, edges and ridges."""

from __future__ import annotations

from typing import NamedTuple, Optional

from vorlane import _core
from vorlane._types import ArrayLike, BoolArray, FloatArray


class Gradient(NamedTuple):
    """Magnitude and direction of the slope at each pixel."""

    magnitude: FloatArray
    direction: FloatArray


class Ridges(NamedTuple):
    """Strength, angle and scale of the ridge at each pixel."""

    strength: FloatArray
    angle: FloatArray
    scale: FloatArray


def smooth(image: ArrayLike, sigma: float, *, plain: bool = False) -> FloatArray:
    """Smooth with a Gaussian.

    Parameters
    ----------
    image : array_like
        A picture of shape (rows, columns) or (rows, columns, 3), or a volume of shape
        (slices, rows, columns), which is smoothed along all three axes.
    sigma : float
        Standard deviation of the Gaussian in pixels, above 0.
    plain : bool, optional
        The library's own form: the filter's gain isn't 1 (about 1.35 in the plane at sigma 1), the
        result falls off towards the borders, and each channel of a colour picture is stretched to 0
        to 255.

    Returns
    -------
    ndarray
        32-bit floats in the shape of `image`. A flat picture stays as it is, up to the border.

    Raises
    ------
    ValueError
        If `sigma` isn't above 0 and finite, or the shape is another.
    TypeError
        If the samples aren't real numbers.

    Notes
    -----
    The recursive filter takes the same time for every sigma. Source: R. Deriche, "Recursively
    implementing the Gaussian and its derivatives", 1993.

    Examples
    --------
    >>> import numpy as np, vorlane
    >>> vorlane.smooth(np.full((3, 4), 7.0), 1.5).round(3)
    array([[7., 7., 7., 7.],
           [7., 7., 7., 7.],
           [7., 7., 7., 7.]], dtype=float32)
    """
    return _core.smooth(image, sigma, plain)


def derivative(image: ArrayLike, sigma: float, axis: int, *, plain: bool = False) -> FloatArray:
    """First derivative of the smoothed picture along one axis.

    Parameters
    ----------
    image : array_like
        A gray picture of shape (rows, columns).
    sigma : float
        Standard deviation of the smoothing in pixels, above 0.
    axis : int
        0 along rows of increasing index, 1 along columns; negative axes count from the end.
    plain : bool, optional
        The library's own form, whose sign is opposite to the slope and whose gain isn't 1.

    Returns
    -------
    ndarray
        32-bit floats of shape (rows, columns), in gray levels a pixel.

    Raises
    ------
    ValueError
        If `sigma` isn't above 0 and finite, `axis` isn't one of the two, or the shape is another.

    Examples
    --------
    >>> import numpy as np, vorlane
    >>> ramp = np.tile(np.arange(64.0), (64, 1))
    >>> float(vorlane.derivative(ramp, 2.0, axis=1)[32, 32].round(3))
    1.0
    """
    return _core.derivative(image, sigma, axis, plain)


def gradient(image: ArrayLike, sigma: float, *, plain: bool = False) -> Gradient:
    """Magnitude and direction of the gradient of the smoothed picture.

    Parameters
    ----------
    image : array_like
        A picture of shape (rows, columns) or (rows, columns, 3); of a colour picture the channel
        with the largest magnitude decides.
    sigma : float
        Standard deviation of the smoothing in pixels, above 0.
    plain : bool, optional
        The library's own form: the magnitude divided by its largest value, 0 in a border about
        2 sigma wide.

    Returns
    -------
    Gradient
        `magnitude` in gray levels a pixel and `direction` in radians from 0 to 2 pi, that of
        increasing gray level: 0 towards larger columns, pi / 2 towards larger rows. Both of shape
        (rows, columns).

    Raises
    ------
    ValueError
        If `sigma` isn't above 0 and finite, or the shape is another.

    Examples
    --------
    >>> import numpy as np, vorlane
    >>> slope = vorlane.gradient(np.tile(2.0 * np.arange(32), (32, 1)), 1.0)
    >>> float(slope.magnitude[16, 16].round(3)), float(slope.direction[16, 16].round(3))
    (2.0, 0.0)
    """
    return Gradient(*_core.gradient(image, sigma, plain))


def edges(
    image: ArrayLike,
    sigma: float = 2.0,
    high: float = 0.2,
    low: float = 0.08,
    *,
    absolute: bool = False,
    plain: bool = False,
) -> BoolArray:
    """Thin, linked edges.

    Parameters
    ----------
    image : array_like
        A picture of shape (rows, columns) or (rows, columns, 3).
    sigma : float, optional
        Standard deviation of the smoothing in pixels, above 0.
    high, low : float, optional
        An edge starts where the slope is above `high` and goes on while it is above `low`: parts of
        the steepest slope, or gray levels a pixel with `absolute`.
    absolute : bool, optional
        Take the thresholds in gray levels a pixel.
    plain : bool, optional
        The library's own form: no edges in a border about 2 sigma wide.

    Returns
    -------
    ndarray of bool
        True on edges, shape (rows, columns). A flat picture has none.

    Raises
    ------
    ValueError
        If an argument isn't finite or has no meaning, or the shape is another.

    Notes
    -----
    Source: J. Canny, "A computational approach to edge detection", 1986.

    Examples
    --------
    >>> import numpy as np, vorlane
    >>> step = np.zeros((32, 32)); step[:, 16:] = 100
    >>> int(vorlane.edges(step, sigma=1.0).any(axis=1).sum())
    32
    """
    return _core.edges(image, sigma, high, low, absolute, plain)


def ridges(
    image: ArrayLike,
    sigma_min: float,
    sigma_max: float,
    n_scales: int,
    *,
    bright: bool = True,
    dark: bool = False,
    mask: Optional[ArrayLike] = None,
    plain: bool = False,
) -> Ridges:
    """Lines of any width, over several scales.

    Parameters
    ----------
    image : array_like
        A picture of shape (rows, columns) or (rows, columns, 3).
    sigma_min, sigma_max : float
        The first and the last scale in pixels, about half the width of a line.
    n_scales : int
        Number of scales, in equal steps, from 1 on.
    bright, dark : bool, optional
        Look for lines that are brighter or darker than what lies around them.
    mask : array_like, optional
        Shape (rows, columns); pixels where it is 0 don't count.
    plain : bool, optional
        The library's own form: no ridges in a border of the largest scale.

    Returns
    -------
    Ridges
        `strength` from 0 to 1, `angle` across the ridge in radians from 0 to pi (0 along rows of
        increasing index, pi / 2 along columns; 3.5 where there is no ridge), and `scale` (0 where
        there is none), each of shape (rows, columns).

    Raises
    ------
    ValueError
        If a scale isn't above 0 and finite, or a shape is another.

    Notes
    -----
    Directions are eigenvectors of the matrix of second derivatives, as in C. Steger, "An unbiased
    detector of curvilinear structures", 1998.

    Examples
    --------
    >>> import numpy as np, vorlane
    >>> line = np.zeros((48, 48)); line[:, 22:26] = 100
    >>> float(vorlane.ridges(line, 1.0, 3.0, 3).strength.max())
    1.0
    """
    return Ridges(*_core.ridges(image, sigma_min, sigma_max, n_scales, bright, dark, mask, plain))
