"""Counts of gray levels, and mixtures of Gaussians that fit them."""

from __future__ import annotations

from typing import Optional

import numpy as np

from vorlane import _core
from vorlane._types import ArrayLike, FloatArray, IntArray


class Histogram:
    """Counts of a picture's gray levels, one bin for each whole level from 0.

    Parameters
    ----------
    image : array_like
        Shape (rows, columns), or (rows, columns, 3), whose gray levels are the means of the
        channels. Levels at or below -1 and not-a-numbers have no bin.
    mask : array_like, optional
        Shape (rows, columns); only pixels where it isn't 0 are counted.

    Raises
    ------
    ValueError
        If a shape is another.

    Examples
    --------
    >>> import vorlane
    >>> vorlane.Histogram([[1, 1, 3], [0, 1, 2]]).counts
    array([1, 3, 1, 1], dtype=int32)
    """

    def __init__(self, image: ArrayLike, mask: Optional[ArrayLike] = None) -> None:
        self._core = _core.Histogram(image, mask)

    @property
    def counts(self) -> IntArray:
        """The counts, a copy; bin i holds the levels from i up to but not including i + 1."""
        return self._core.counts

    @property
    def peak(self) -> int:
        """The largest count when the picture was counted."""
        return self._core.peak

    @property
    def parameters(self) -> FloatArray:
        """The fitted mixture, shape (n, 3): height, centre and standard deviation, in bins."""
        raw = self._core.parameters.astype(np.float64)
        table = np.stack([raw[:, 0] ** 2, raw[:, 1], np.abs(raw[:, 2]) / np.sqrt(2.0)], axis=1)
        result: FloatArray = table.astype(np.float32)
        return result

    def smooth(self, width: int) -> None:
        """Smooth the counts with a Gaussian of standard deviation `width` / 6 bins."""
        self._core.smooth(width)

    def fit(self, n: int) -> float:
        """Fit the sum of `n` Gaussians by least squares.

        Returns
        -------
        float
            The misfit: root of the sum of squared residuals over that of squared counts, 0 for an
            exact fit, 1000000.0 after a failure.
        """
        return self._core.fit(n)

    def fit_best(self, first: int, last: int, threshold: float) -> FloatArray:
        """Fit `first`, `first` + 1, ... `last` - 1 Gaussians and keep the simplest good one.

        Parameters
        ----------
        first, last : int
            Numbers of components, `last` not included.
        threshold : float
            A fit is good enough if (misfit - best) / (worst - best) is below it.

        Returns
        -------
        ndarray
            The misfit for each number of components.
        """
        return self._core.fit_best(first, last, threshold)
