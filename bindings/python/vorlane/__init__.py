"""Image, movie and volume processing on NumPy arrays.

Pictures are arrays of shape (rows, columns), gray, or (rows, columns, 3), colour with red, green
and blue from 0 to 255; volumes have the shape (slices, rows, columns). An array whose last axis has
length 3 is a colour picture. Samples of any real type are taken, 32-bit floats without a
conversion; results are arrays of 32-bit floats, the same bits on every machine.

The functions work in the natural form of each operation by default: smoothing keeps brightness,
derivatives have the unit and sign of the slope, edges and ridges reach the border. ``plain=True``
gives the library's own form, whose gains and borders the C++ headers describe.

Failures: `TypeError` for samples that aren't real numbers, `ValueError` for shapes and arguments
without a meaning, `OSError` for files that can't be opened, `vorlane.Error` for everything that the
library itself has to say.

>>> import numpy as np, vorlane
>>> vorlane.smooth(np.full((2, 3), 127), sigma=2.0).round(3)
array([[127., 127., 127.],
       [127., 127., 127.]], dtype=float32)
"""

from vorlane._core import Error, __version__
from vorlane.drawing import draw_circle, draw_cross, draw_line, fill, fill_convex
from vorlane.files import formats, read, read_volume, write
from vorlane.filters import Gradient, Ridges, derivative, edges, gradient, ridges, smooth
from vorlane.histogram import Histogram
from vorlane.movies import Movie, MovieWriter
from vorlane.operators import (
    add,
    chamfer,
    distance_mean,
    enlarge,
    extract,
    invert,
    luv_to_rgb,
    mask_keep,
    mask_set,
    maximum,
    median,
    minimum,
    multiply,
    noise,
    normalize,
    reduce,
    rgb_to_luv,
    rotate,
    scale,
    sobel,
    superpose,
    threshold,
    to_colour,
    to_gray,
    translate,
)
from vorlane.volumes import Vessels, hessian_eigenvalues, vessels

Error.__doc__ = "What the library says when a file or an operation fails."
Error.__module__ = "vorlane"

__all__ = [
    "Error",
    "Gradient",
    "Histogram",
    "Movie",
    "MovieWriter",
    "Ridges",
    "Vessels",
    "__version__",
    "add",
    "chamfer",
    "derivative",
    "distance_mean",
    "draw_circle",
    "draw_cross",
    "draw_line",
    "edges",
    "enlarge",
    "extract",
    "fill",
    "fill_convex",
    "formats",
    "gradient",
    "hessian_eigenvalues",
    "invert",
    "luv_to_rgb",
    "mask_keep",
    "mask_set",
    "maximum",
    "median",
    "minimum",
    "multiply",
    "noise",
    "normalize",
    "read",
    "read_volume",
    "reduce",
    "rgb_to_luv",
    "ridges",
    "rotate",
    "scale",
    "smooth",
    "sobel",
    "superpose",
    "threshold",
    "to_colour",
    "to_gray",
    "translate",
    "vessels",
    "write",
]
