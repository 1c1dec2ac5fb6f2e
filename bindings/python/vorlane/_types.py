"""The types that signatures name."""

from __future__ import annotations

import os
from typing import Any, Union

import numpy as np
import numpy.typing as npt

ArrayLike = npt.ArrayLike
FloatArray = npt.NDArray[np.float32]
BoolArray = npt.NDArray[np.bool_]
IntArray = npt.NDArray[np.int32]
Path = Union[str, "os.PathLike[str]"]
AnyArray = npt.NDArray[Any]
