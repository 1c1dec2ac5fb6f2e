"""Movies, frame by frame."""

from __future__ import annotations

import os
from types import TracebackType
from typing import Iterator, List, Optional, Type, Union, overload

from vorlane import _core
from vorlane._types import ArrayLike, FloatArray, Path


class Movie:
    """A movie of any kind that this build reads; frames are decoded one at a time.

    Iterate over it, index it, or slice it:

    >>> import vorlane  # doctest: +SKIP
    >>> with vorlane.Movie("heart.mp4") as movie:  # doctest: +SKIP
    ...     means = [frame.mean() for frame in movie[::10]]

    Parameters
    ----------
    path : path-like
        The file; its content tells the format.

    Raises
    ------
    OSError
        If the file can't be opened.
    vorlane.Error
        If it isn't a movie that is understood.
    """

    def __init__(self, path: Path) -> None:
        self._core = _core.Movie(os.fspath(path))
        self._length: Optional[int] = None

    def __enter__(self) -> Movie:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    def close(self) -> None:
        """Close the file; the movie gives no more frames."""
        self._core.close()

    @property
    def rate(self) -> float:
        """Frames a second."""
        return self._core.rate

    @property
    def shape(self) -> tuple[int, ...]:
        """Of a frame: (rows, columns) or (rows, columns, 3)."""
        return self._core.shape

    def __len__(self) -> int:
        """Number of frames; counted once where the file doesn't say."""
        if self._length is None:
            self._length = self._core.count()
        return self._length

    def __iter__(self) -> Iterator[FloatArray]:
        n = 0
        while True:
            frame = self._core.frame(n)
            if frame is None:
                return
            yield frame
            n += 1

    @overload
    def __getitem__(self, index: int) -> FloatArray: ...

    @overload
    def __getitem__(self, index: slice) -> List[FloatArray]: ...

    def __getitem__(self, index: Union[int, slice]) -> Union[FloatArray, List[FloatArray]]:
        if isinstance(index, slice):
            return [self[n] for n in range(*index.indices(len(self)))]
        n = index + len(self) if index < 0 else index
        frame = self._core.frame(n) if n >= 0 else None
        if frame is None:
            raise IndexError(f"frame {index} of a movie of {len(self)} frames")
        return frame


class MovieWriter:
    """Writes a movie frame by frame: AVI, TQ, MP4 or GIF by the path's ending.

    A context manager; the file appears under its name when the block ends without an exception.

    Parameters
    ----------
    path : path-like
        The file to write.
    rate : float, optional
        Frames a second.

    Raises
    ------
    OSError
        If the file can't be created.
    vorlane.Error
        If this build doesn't write the format.
    """

    def __init__(self, path: Path, rate: float = 25.0) -> None:
        self._core = _core.MovieWriter(os.fspath(path), rate)

    def __enter__(self) -> MovieWriter:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        if kind is None:
            self.close()
        else:
            self._core.discard()

    def write(self, frame: ArrayLike) -> None:
        """Append a frame; all frames have the shape of the first one, and values from 0 to 255."""
        self._core.write(frame)

    def close(self) -> None:
        """Finish the file."""
        self._core.finish()
