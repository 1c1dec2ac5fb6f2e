"""One operation over many pictures: ``python3 -m vorlane.batch INPUT OUTPUT OPERATION [NAME=VALUE ...]``.

INPUT is a folder of pictures, a movie, or a Zarr store of shape (pictures, rows, columns[, 3]).
OUTPUT is a Zarr store if its name ends with ``.zarr``, else a folder. The operation is a function of
the package, such as ``smooth sigma=2``. It runs on a pool of this machine, or on the workers of a
scheduler (``--scheduler tcp://host:8786``) that see the same files. A worker that dies is replaced:
its pictures are done again.
"""

from __future__ import annotations

import argparse
import ast
import os
import sys
from pathlib import Path
from typing import Any, Callable, Dict, List, Optional

import numpy as np

import vorlane

_PICTURES = {".png", ".jpg", ".jpeg", ".tif", ".tiff", ".pgm", ".ppm", ".pbm", ".pnm", ".pam",
             ".bmp", ".tq", ".dcm"}


class _Source:
    """Pictures by number: from a folder, a movie, or a Zarr store. Travels to workers by its path."""

    def __init__(self, path: str) -> None:
        self.path = os.path.abspath(path)
        self.names: List[str] = []
        if os.path.isfile(os.path.join(path, ".zarray")):
            import zarr

            self.kind = "zarr"
            self.count = zarr.open(self.path, mode="r").shape[0]
        elif os.path.isdir(path):
            self.kind = "folder"
            self.names = sorted(
                entry.name for entry in os.scandir(path)
                if entry.is_file() and Path(entry.name).suffix.lower() in _PICTURES)
            self.count = len(self.names)
        else:
            self.kind = "movie"
            with vorlane.Movie(self.path) as movie:
                self.count = len(movie)

    def read(self, n: int) -> np.ndarray:
        if self.kind == "folder":
            return vorlane.read(os.path.join(self.path, self.names[n]))
        if self.kind == "movie":
            with vorlane.Movie(self.path) as movie:
                return movie[n]
        import zarr

        return np.asarray(zarr.open(self.path, mode="r")[n])

    def name(self, n: int) -> str:
        return Path(self.names[n]).stem if self.names else f"{n:06d}"


def _operate(operation: str, options: Dict[str, Any], picture: np.ndarray) -> np.ndarray:
    result = getattr(vorlane, operation)(picture, **options)
    return np.asarray(result[0] if isinstance(result, tuple) else result)


def _work(source: _Source, n: int, operation: str, options: Dict[str, Any], output: str,
          ending: str) -> Optional[str]:
    """Does one picture; the line that says what failed, or None."""
    try:
        result = _operate(operation, options, source.read(n))
        if output.endswith(".zarr"):
            import zarr

            store = zarr.open(output, mode="r+")
            if store.shape[1:] != result.shape:
                raise ValueError(f"gives shape {result.shape}, the first one {store.shape[1:]}")
            store[n] = result
        else:
            vorlane.write(os.path.join(output, source.name(n) + ending), result)
    except (vorlane.Error, OSError, ValueError, TypeError) as error:
        return f"{source.name(n)}: {error}"
    return None


def _value(text: str) -> Any:
    try:
        return ast.literal_eval(text)
    except (ValueError, SyntaxError):
        return text


def run(input: str, output: str, operation: str, options: Dict[str, Any], *,  # noqa: A002
        scheduler: Optional[str] = None, workers: Optional[int] = None,
        ending: str = ".tif") -> List[str]:
    """Run one operation over all pictures of `input`.

    Returns
    -------
    list of str
        What failed, a line each; the other pictures are whole.

    Raises
    ------
    ValueError
        If there is no such operation, or no picture.
    """
    function: Optional[Callable[..., Any]] = getattr(vorlane, operation, None)
    if operation not in vorlane.__all__ or not callable(function) or isinstance(function, type):
        raise ValueError(f"vorlane has no operation {operation!r}")
    source = _Source(input)
    if source.count == 0:
        raise ValueError(f"{input}: no pictures")
    output = os.path.abspath(output)
    names = [source.name(n) for n in range(source.count)]
    if len(set(names)) < len(names):
        twice = next(name for name in names if names.count(name) > 1)
        raise ValueError(f"two pictures are named {twice}: they would write one file")
    if output.endswith(".zarr"):
        import zarr

        first = _operate(operation, options, source.read(0))
        zarr.open(output, mode="w", shape=(source.count, *first.shape),
                  chunks=(1, *first.shape), dtype=first.dtype)
    else:
        os.makedirs(output, exist_ok=True)

    from dask.distributed import Client, LocalCluster

    pool = None if scheduler else LocalCluster(
        n_workers=workers or os.cpu_count(), threads_per_worker=1, dashboard_address=None)
    try:
        with Client(scheduler or pool) as client:
            futures = [client.submit(_work, source, n, operation, options, output, ending,
                                     pure=False, retries=3) for n in range(source.count)]
            return [failure for failure in client.gather(futures) if failure]
    finally:
        if pool:
            pool.close()


def main() -> int:
    """The command."""
    parser = argparse.ArgumentParser(prog="python3 -m vorlane.batch",
                                     description="One operation over many pictures.")
    parser.add_argument("input", help="a folder of pictures, a movie, or a Zarr store")
    parser.add_argument("output", help="a folder, or a Zarr store if the name ends with .zarr")
    parser.add_argument("operation", help="a function of the package, such as smooth")
    parser.add_argument("options", nargs="*", metavar="NAME=VALUE", help="its arguments")
    parser.add_argument("--scheduler", help="address of a running scheduler; else a local pool")
    parser.add_argument("--workers", type=int, help="workers of the local pool")
    parser.add_argument("--as", dest="ending", default="tif", help="format in a folder")
    arguments = parser.parse_args()
    pairs = [option.partition("=") for option in arguments.options]
    if not all(equals for _, equals, _ in pairs):
        parser.error("options are written NAME=VALUE")
    try:
        failures = run(arguments.input, arguments.output, arguments.operation,
                       {name: _value(text) for name, _, text in pairs},
                       scheduler=arguments.scheduler, workers=arguments.workers,
                       ending="." + arguments.ending.lstrip("."))
    except (ValueError, OSError, vorlane.Error) as error:
        print(f"vorlane.batch: {error}", file=sys.stderr)
        return 2
    for failure in failures:
        print(f"vorlane.batch: {failure}", file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
