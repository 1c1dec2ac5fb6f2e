"""Arrays of every shape, stride and type as pictures, and results as arrays."""

import ctypes
import mmap
import os
import threading
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp

import vorlane

PICTURE = np.random.default_rng(1).integers(0, 256, (37, 53)).astype(np.float32)
COLOUR = np.random.default_rng(2).integers(0, 256, (29, 31, 3)).astype(np.float32)
VOLUME = np.random.default_rng(3).random((12, 13, 14)).astype(np.float32)

# Each operation on a gray picture, with arguments that suit any size.
ON_GRAY = {
    "smooth": lambda a: vorlane.smooth(a, 1.5),
    "smooth plain": lambda a: vorlane.smooth(a, 1.5, plain=True),
    "derivative": lambda a: vorlane.derivative(a, 1.0, 0),
    "derivative plain": lambda a: vorlane.derivative(a, 1.0, 1, plain=True),
    "gradient": lambda a: vorlane.gradient(a, 1.0).magnitude,
    "gradient plain": lambda a: vorlane.gradient(a, 1.0, plain=True).direction,
    "edges": vorlane.edges,
    "edges plain": lambda a: vorlane.edges(a, plain=True),
    "ridges": lambda a: vorlane.ridges(a, 1, 2, 2).strength,
    "median": lambda a: vorlane.median(a, 3),
    "threshold": lambda a: vorlane.threshold(a, 100),
    "distance_mean": lambda a: vorlane.distance_mean(a, 3),
    "sobel": vorlane.sobel,
    "chamfer": vorlane.chamfer,
    "reduce": lambda a: vorlane.reduce(a, 2),
    "enlarge": lambda a: vorlane.enlarge(a, 2, bilinear=True),
    "translate": lambda a: vorlane.translate(a, 2, -3),
    "rotate": lambda a: vorlane.rotate(a, 30.0, expand=True),
    "rotate plain": lambda a: vorlane.rotate(a, 30, plain=True),
    "scale": lambda a: vorlane.scale(a, 0.7),
    "scale plain": lambda a: vorlane.scale(a, 0.7, 1.3, plain=True),
    "invert": vorlane.invert,
    "normalize": vorlane.normalize,
    "to_colour": vorlane.to_colour,
    "add": lambda a: vorlane.add(a, a),
    "maximum": lambda a: vorlane.maximum(a, a),
    "superpose": lambda a: vorlane.superpose(a, a),
    "draw_line": lambda a: vorlane.draw_line(a, 0, 0, 9, 9),
    "draw_circle": lambda a: vorlane.draw_circle(a, 3, 3, 5),
    "fill": lambda a: vorlane.fill(a, 1, 1),
    "histogram": lambda a: vorlane.Histogram(a).counts,
}


def same(a, b):
    return a.shape == b.shape and a.dtype == b.dtype and a.tobytes() == b.tobytes()


@pytest.mark.parametrize("operation", ON_GRAY.values(), ids=ON_GRAY.keys())
def test_layout_makes_no_difference(operation):
    expected = operation(PICTURE)
    wide = np.zeros((74, 106), np.float32)
    wide[::2, ::2] = PICTURE
    backwards = PICTURE[::-1].copy()[::-1]
    mirrored = PICTURE[:, ::-1].copy()[:, ::-1]
    read_only = PICTURE.copy()
    read_only.flags.writeable = False
    for view in (wide[::2, ::2], backwards, mirrored, np.asfortranarray(PICTURE), read_only,
                 PICTURE.astype(">f4"), PICTURE.astype(np.uint8), PICTURE.astype(np.int64),
                 PICTURE.astype(np.float64), PICTURE.astype(np.float16), PICTURE.tolist()):
        assert same(operation(view), expected)
    unaligned = np.zeros(PICTURE.nbytes + 1, np.uint8)[1:].view(np.float32).reshape(PICTURE.shape)
    unaligned[:] = PICTURE
    assert same(operation(unaligned), expected)


@pytest.mark.parametrize("operation", ON_GRAY.values(), ids=ON_GRAY.keys())
def test_nothing_is_read_behind_an_array(operation):
    """The last sample stands at the end of a page behind which nothing may be touched."""
    page = mmap.PAGESIZE
    size = (PICTURE.nbytes + page - 1) // page * page
    block = mmap.mmap(-1, size + page)
    address = ctypes.addressof(ctypes.c_char.from_buffer(block))
    protect = ctypes.CDLL(None).mprotect
    assert protect(ctypes.c_void_p(address + size), page, 0) == 0
    picture = np.frombuffer(block, np.float32, PICTURE.size, size - PICTURE.nbytes)
    picture = picture.reshape(PICTURE.shape)
    picture[:] = PICTURE
    assert same(operation(picture), operation(PICTURE))
    assert protect(ctypes.c_void_p(address + size), page, 3) == 0


def test_results_share_the_memory_of_their_plane():
    result = vorlane.median(PICTURE, 3)
    assert result.dtype == np.float32 and result.flags.writeable and not result.flags.owndata
    assert result.base is not None and result.strides[0] % 64 == 0
    result[:] = 7  # it lives by itself
    assert not same(vorlane.median(PICTURE, 3), result)
    assert vorlane.smooth(COLOUR, 1.0).shape == COLOUR.shape
    assert vorlane.smooth(VOLUME, 1.0).shape == VOLUME.shape


@pytest.mark.parametrize("call, kind, words", [
    (lambda: vorlane.smooth(np.zeros(5), 1), ValueError, "(5,)"),
    (lambda: vorlane.median(np.zeros((2, 3, 4)), 3), ValueError, "(2, 3, 4)"),
    (lambda: vorlane.chamfer(COLOUR), ValueError, "(29, 31, 3)"),
    (lambda: vorlane.rgb_to_luv(PICTURE), ValueError, "(37, 53)"),
    (lambda: vorlane.add(PICTURE, PICTURE.T), ValueError, "(53, 37)"),
    (lambda: vorlane.smooth(PICTURE.astype(complex), 1), TypeError, "complex128"),
    (lambda: vorlane.smooth(np.array([["a"]]), 1), TypeError, "(1, 1)"),
    (lambda: vorlane.smooth(PICTURE.astype(object), 1), TypeError, "object"),
    (lambda: vorlane.smooth(np.zeros((3, 3), "M8[s]"), 1), TypeError, "datetime64"),
    (lambda: vorlane.smooth(PICTURE, -1), ValueError, "sigma"),
    (lambda: vorlane.smooth(PICTURE, float("nan"), plain=True), ValueError, "sigma"),
    (lambda: vorlane.smooth(PICTURE, 1e300, plain=True), ValueError, "sigma"),
    (lambda: vorlane.derivative(PICTURE, 1, 2), ValueError, "axis"),
    (lambda: vorlane.edges(PICTURE, high=float("nan")), ValueError, "high"),
    (lambda: vorlane.median(PICTURE, 0), ValueError, "size"),
    (lambda: vorlane.extract(PICTURE, 1, 1, 37, 1), ValueError, "(37, 53)"),
    (lambda: vorlane.ridges(PICTURE, 1, 2, 2, mask=COLOUR), ValueError, "mask"),
    (lambda: vorlane.Histogram(PICTURE, np.zeros((2, 2))), ValueError, "mask"),
    (lambda: vorlane.Histogram(PICTURE).fit(0), ValueError, "n must"),
    (lambda: vorlane.vessels(VOLUME, [1], measure="other"), ValueError, "'sato'"),
    (lambda: vorlane.read("nowhere.png"), FileNotFoundError, "nowhere.png"),
    (lambda: vorlane.read(__file__), vorlane.Error, "test_arrays.py"),
])
def test_what_is_wrong_is_said(call, kind, words):
    with pytest.raises(kind) as caught:
        call()
    assert words in str(caught.value)


@settings(max_examples=120, deadline=None)
@given(st.data())
def test_any_array_gives_an_answer_or_an_exception(data):
    dtype = data.draw(st.one_of(hnp.boolean_dtypes(), hnp.integer_dtypes(), hnp.floating_dtypes(),
                                hnp.unsigned_integer_dtypes(), hnp.complex_number_dtypes()))
    shape = data.draw(hnp.array_shapes(min_dims=1, max_dims=4, min_side=0, max_side=9))
    array = data.draw(hnp.arrays(dtype, shape))
    steps = data.draw(st.lists(st.sampled_from([1, 1, 2, -1, -2]), min_size=array.ndim,
                               max_size=array.ndim))
    array = array[tuple(slice(None, None, step) for step in steps)]
    operation = ON_GRAY[data.draw(st.sampled_from(sorted(ON_GRAY)))]
    before = array.tobytes()
    try:
        result = operation(array)
        assert isinstance(result, np.ndarray)
    except (ValueError, TypeError, MemoryError, vorlane.Error):
        pass
    assert array.tobytes() == before


def test_arrays_that_change_meanwhile():
    picture = np.random.default_rng(5).integers(0, 256, (300, 300)).astype(np.float32)
    stop = threading.Event()

    def change():
        levels = (0.0, 255.0, 1e9, -1e9, np.nan)
        while not stop.is_set():
            for level in levels:
                picture[::3] = level

    thread = threading.Thread(target=change)
    thread.start()
    try:
        for name, operation in ON_GRAY.items():
            if name not in ("ridges", "histogram"):
                operation(picture)
        vorlane.Histogram(np.minimum(picture, 1000.0))
    finally:
        stop.set()
        thread.join()


def test_threads_give_the_same_bits():
    pictures = [np.random.default_rng(k).random((200, 300)).astype(np.float32) for k in range(8)]
    alone = [vorlane.smooth(picture, 2.0) for picture in pictures]
    with ThreadPoolExecutor(4) as pool:
        together = list(pool.map(lambda picture: vorlane.smooth(picture, 2.0), pictures))
    assert all(same(a, b) for a, b in zip(alone, together))


def test_references_are_counted_right():
    def resident():
        with open("/proc/self/statm") as file:
            return int(file.read().split()[1]) * mmap.PAGESIZE

    picture = PICTURE[:12, :12].copy()
    bad = np.zeros(3)

    def once():
        for operation in ON_GRAY.values():
            operation(picture)
        for failing in (lambda: vorlane.smooth(bad, 1), lambda: vorlane.median(picture, 0)):
            with pytest.raises(ValueError):
                failing()

    for _ in range(300):
        once()
    before = resident()
    for _ in range(int(os.environ.get("VORLANE_REPEATS", "700"))):
        once()
    assert resident() - before < 4 << 20
