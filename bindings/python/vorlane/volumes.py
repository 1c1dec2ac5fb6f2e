"""Structure in three dimensions."""

from __future__ import annotations

from typing import Any, NamedTuple, Optional, Sequence, Tuple

import numpy as np

from vorlane import _core
from vorlane._types import ArrayLike, FloatArray


class Volume(np.ndarray):  # type: ignore[type-arg]
    """An array that knows the distances of its voxels."""

    spacing: Optional[Tuple[float, float, float]]

    @classmethod
    def of(cls, samples: FloatArray, spacing: Optional[Tuple[float, float, float]]) -> Volume:
        volume = samples.view(cls)
        volume.spacing = spacing
        return volume

    def __array_finalize__(self, source: Any) -> None:
        self.spacing = getattr(source, "spacing", None)


class Vessels(NamedTuple):
    """Likeness to a structure at each voxel, and the scale at which it is largest."""

    strength: FloatArray
    scale: FloatArray


def hessian_eigenvalues(volume: ArrayLike, sigma: float, *, plain: bool = False) -> FloatArray:
    """Eigenvalues of the matrix of second derivatives of the smoothed volume.

    Parameters
    ----------
    volume : array_like
        Shape (slices, rows, columns).
    sigma : float
        Standard deviation of the smoothing in voxels, above 0.
    plain : bool, optional
        The library's own form: absolute values of second differences whose mixed terms weigh four
        times the pure ones, smallest first, 0 in the outer shell.

    Returns
    -------
    ndarray
        32-bit floats of shape (3, slices, rows, columns), the most negative first, in gray levels a
        voxel squared. On a bright line one is about 0 and two lie far below it.

    Raises
    ------
    ValueError
        If `sigma` isn't above 0 and finite, or the shape is another.
    """
    return _core.hessian_eigenvalues(volume, sigma, plain)


def vessels(
    volume: ArrayLike,
    sigmas: Sequence[float] = (1.0, 2.0, 3.0),
    *,
    measure: str = "sato",
    structure: str = "line",
    dark: bool = False,
) -> Vessels:
    """Lines, sheets and blobs over several scales.

    Parameters
    ----------
    volume : array_like
        Shape (slices, rows, columns).
    sigmas : sequence of float, optional
        The scales in voxels, each above 0.
    measure : {'sato', 'frangi'}, optional
        Y. Sato et al., "Three-dimensional multi-scale line filter for segmentation and
        visualization of curvilinear structures in medical images", 1998, or A. Frangi et al.,
        "Multiscale vessel enhancement filtering", 1998.
    structure : {'line', 'sheet', 'blob'}, optional
        What to look for.
    dark : bool, optional
        Look for structures that are darker than what lies around them.

    Returns
    -------
    Vessels
        `strength` and `scale`, each of shape (slices, rows, columns); both 0 where there is nothing.

    Raises
    ------
    ValueError
        If an argument has no meaning, or the shape is another.
    """
    return Vessels(*_core.vessels(volume, list(sigmas), measure, structure, dark))
