"""Drawing on copies of pictures. Coordinates may lie anywhere; what falls outside is left out."""

from __future__ import annotations

from vorlane import _core
from vorlane._types import ArrayLike, FloatArray


def draw_line(
    image: ArrayLike, row1: int, col1: int, row2: int, col2: int, value: float = 255.0
) -> FloatArray:
    """A copy with a digital line from (row1, col1) to (row2, col2), both ends included.

    Examples
    --------
    >>> import numpy as np, vorlane
    >>> vorlane.draw_line(np.zeros((2, 3)), 0, 0, 1, 2, value=1)
    array([[1., 1., 0.],
           [0., 0., 1.]], dtype=float32)
    """
    return _core.draw_line(image, row1, col1, row2, col2, value)


def draw_circle(
    image: ArrayLike, row: int, col: int, radius: float, value: float = 255.0
) -> FloatArray:
    """A copy with a circle of 360 points, one a degree; above about 57 pixels it has gaps."""
    return _core.draw_circle(image, row, col, radius, value)


def draw_cross(
    image: ArrayLike, row: int, col: int, value: float = 255.0, half_length: int = 5
) -> FloatArray:
    """A copy with an upright cross with arms of `half_length` pixels on each side of the centre."""
    return _core.draw_cross(image, row, col, value, half_length)


def fill(
    image: ArrayLike, row: int, col: int, value: float = 255.0, boundary: float = 255.0
) -> FloatArray:
    """A copy filled with `value` from (row, col) on, through 4-neighbours, up to `boundary`."""
    return _core.fill(image, row, col, value, boundary)


def fill_convex(image: ArrayLike, value: float = 255.0) -> FloatArray:
    """A copy in which all between the first and the last `value` of each row is `value`."""
    return _core.fill_convex(image, value)
