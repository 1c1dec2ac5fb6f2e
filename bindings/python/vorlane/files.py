"""Pictures and volumes in and out of files."""

from __future__ import annotations

import os
from typing import Dict, List, Optional

from vorlane import _core
from vorlane._types import ArrayLike, FloatArray, Path
from vorlane.volumes import Volume


def formats() -> List[Dict[str, object]]:
    """What this build reads and writes: name, endings, reads, writes, and why one was left out."""
    return _core.formats()


def read(path: Path, *, scanner: bool = False, allow_truncated: bool = False) -> FloatArray:
    """Read a picture of any kind.

    Parameters
    ----------
    path : path-like
        A file; its content tells the format. ``file.tif:3`` is its third page.
    scanner : bool, optional
        Take bytes without a known header for those of a scanner.
    allow_truncated : bool, optional
        Read a file that is shorter than its header promises.

    Returns
    -------
    ndarray
        32-bit floats, shape (rows, columns) or (rows, columns, 3), with the values of the file.

    Raises
    ------
    OSError
        If the file can't be opened.
    vorlane.Error
        If it isn't understood.
    """
    return _core.read(os.fspath(path), scanner, allow_truncated)


def write(
    path: Path,
    array: ArrayLike,
    depth: Optional[str] = None,
    *,
    range: str = "stretch",  # noqa: A002
    gray: bool = False,
) -> None:
    """Write a picture in the format of the path's ending.

    Parameters
    ----------
    path : path-like
        The file; it appears under its name only when it is whole.
    array : array_like
        Shape (rows, columns) or (rows, columns, 3). Booleans are written as 0 and 255.
    depth : {None, '8', '16', 'float'}, optional
        Bits of a sample; by default what the values need and the format has.
    range : {'stretch', 'clamp', 'wrap', 'LO:HI'}, optional
        What becomes of values that don't fit. A warning says when they were stretched.
    gray : bool, optional
        Write a colour picture to a gray format as the mean of its channels.

    Raises
    ------
    OSError
        If the file can't be created.
    ValueError
        If an argument or the shape has no meaning.
    vorlane.Error
        If the format can't hold the picture.
    """
    _core.write(os.fspath(path), array, "" if depth is None else str(depth), range, gray)


def read_volume(path: Path) -> FloatArray:
    """Read a volume: a V1 or V2 description, or a folder of DICOM files.

    Returns
    -------
    ndarray
        32-bit floats of shape (slices, rows, columns). Its attribute `spacing` gives the distance
        of slices, rows and columns in millimetres, or None where the files don't say.

    Raises
    ------
    OSError
        If the file can't be opened.
    vorlane.Error
        If it isn't understood.
    """
    samples, spacing = _core.read_volume(os.fspath(path))
    return Volume.of(samples, spacing)
