"""What the operations mean, in the shapes and names of the module."""

import numpy as np
import pytest

import vorlane
from test_arrays import COLOUR, PICTURE, VOLUME, same


def test_flat_stays_flat():
    for sigma in (0.5, 2.0, 9.0):
        for shape in ((40, 50), (30, 40, 3), (20, 21, 22)):
            assert np.abs(vorlane.smooth(np.full(shape, 127), sigma) - 127).max() < 1e-3


def test_slopes_have_their_sign_and_size():
    rows = np.tile(3.0 * np.arange(40)[:, None], (1, 50))
    assert np.abs(vorlane.derivative(rows, 2.0, 0) - 3).max() < 1e-2
    assert np.abs(vorlane.derivative(rows, 2.0, -1)).max() < 1e-2
    slope = vorlane.gradient(rows, 2.0)
    assert np.abs(slope.direction - np.pi / 2).max() < 1e-2


def test_edges():
    step = np.zeros((40, 50))
    step[:, 25:] = 60
    found = vorlane.edges(step, 1.0)
    assert found.dtype == bool and found.any(axis=1).all() and found.sum() == 40
    assert not vorlane.edges(np.full((40, 50), 9.0)).any()
    assert vorlane.edges(step, 1.0, high=12, low=4, absolute=True).sum() == 40
    assert not vorlane.edges(step, 1.0, high=40, low=4, absolute=True).any()
    assert not vorlane.edges(step, 1.0, plain=True)[:2].any()


def test_ridges():
    line = np.zeros((60, 60))
    line[:, 28:32] = 100
    found = vorlane.ridges(line, 1, 3, 3)
    assert found.strength[30].argmax() in (29, 30)
    assert vorlane.ridges(line, 1, 3, 3, bright=False, dark=True).strength[30, 29:31].max() == 0
    mask = np.ones((60, 60))
    mask[:, 25:35] = 0
    assert vorlane.ridges(line, 1, 3, 3, mask=mask).strength[:, 28:32].max() == 0


def test_geometry_and_colour():
    assert same(vorlane.extract(PICTURE, 3, 4, 5, 6), PICTURE[3:8, 4:10].copy())
    turned = PICTURE
    for _ in range(4):
        turned = vorlane.rotate(turned, 90, expand=True)
    assert same(np.ascontiguousarray(turned), PICTURE)
    assert same(np.ascontiguousarray(vorlane.rotate(PICTURE, 90, expand=True)),
                np.ascontiguousarray(np.rot90(PICTURE)))
    assert vorlane.scale(PICTURE, 2, 0.5).shape == (74, 27)
    assert vorlane.enlarge(COLOUR, 3).shape == (87, 93, 3)
    back = vorlane.luv_to_rgb(vorlane.rgb_to_luv(COLOUR))
    assert np.abs(back - COLOUR).mean() < 6
    assert np.abs(vorlane.to_gray(COLOUR) - COLOUR.mean(axis=2)).max() < 1e-3


def test_histogram():
    levels = np.random.default_rng(4)
    picture = np.concatenate([levels.normal(60, 8, 40000), levels.normal(170, 15, 60000)])
    histogram = vorlane.Histogram(picture.reshape(200, 500))
    assert histogram.counts.sum() == 100000 and histogram.peak == histogram.counts.max()
    misfits = histogram.fit_best(1, 5, 0.2)
    assert misfits.shape == (4,) and histogram.parameters.shape == (2, 3)
    found = histogram.parameters[histogram.parameters[:, 1].argsort()]
    assert np.allclose(found[:, 1], [60, 170], atol=1.5)
    assert np.allclose(found[:, 2], [8, 15], atol=1)


def test_volumes():
    values = vorlane.hessian_eigenvalues(VOLUME, 1.0)
    assert values.shape == (3, *VOLUME.shape)
    assert (values[0] <= values[1]).all() and (values[1] <= values[2]).all()
    tube = np.zeros((24, 24, 24))
    tube[:, 11:13, 11:13] = 100
    found = vorlane.vessels(tube, [1.0, 2.0])
    assert found.strength[12].argmax() in (11 * 24 + 11, 11 * 24 + 12, 12 * 24 + 11, 12 * 24 + 12)
    assert set(np.unique(found.scale)) <= {0.0, 1.0, 2.0}


def test_read_volume(tmp_path):
    samples = (VOLUME * 1000).astype("<i2")
    samples.tofile(tmp_path / "head data.raw")
    (tmp_path / "head.txt").write_text("V2\nfile=head data.raw\nnbf=12\nrow=13\ncol=14\nsize=2\n")
    read = vorlane.read_volume(tmp_path / "head.txt")
    assert (read == samples).all() and read.spacing is None and read.dtype == np.float32
    with pytest.raises(OSError):
        vorlane.read_volume(tmp_path / "none.txt")
    (tmp_path / "bad.txt").write_text("V2\nfile=nowhere\n")
    with pytest.raises(vorlane.Error, match="nowhere"):
        vorlane.read_volume(tmp_path / "bad.txt")


def test_files(tmp_path):
    for name, array in (("gray.pgm", PICTURE), ("colour.ppm", COLOUR), ("float.tq", PICTURE + 0.5)):
        vorlane.write(tmp_path / name, array)
        assert same(np.ascontiguousarray(vorlane.read(tmp_path / name)), array)
    vorlane.write(tmp_path / "bool.pgm", PICTURE > 100)
    assert set(np.unique(vorlane.read(tmp_path / "bool.pgm"))) == {0.0, 255.0}
    with pytest.warns(UserWarning, match="-5"):
        vorlane.write(tmp_path / "far.bmp", PICTURE - 5)
    with pytest.raises(vorlane.Error, match="gray"):
        vorlane.write(tmp_path / "no.pgm", COLOUR)
    with pytest.raises((OSError, vorlane.Error)):
        vorlane.write(tmp_path / "none" / "a.pgm", PICTURE)
    assert any(entry["name"] for entry in vorlane.formats())
    (tmp_path / "short.pgm").write_bytes(b"P5\n10 10\n255\nab")
    with pytest.raises(vorlane.Error):
        vorlane.read(tmp_path / "short.pgm")


def test_movies(tmp_path):
    path = tmp_path / "clip.avi"
    with vorlane.MovieWriter(path, rate=12) as writer:
        for k in range(6):
            writer.write(np.full((16, 24), 10 * k))
        with pytest.raises(ValueError, match="first one"):
            writer.write(np.zeros((3, 3)))
    movie = vorlane.Movie(path)
    assert len(movie) == 6 and movie.rate == 12 and movie.shape == (16, 24)
    assert [frame[0, 0] for frame in movie] == [0, 10, 20, 30, 40, 50]
    assert [frame[0, 0] for frame in movie[4:0:-2]] == [40, 20]
    assert movie[-1][0, 0] == 50
    with pytest.raises(IndexError):
        movie[6]
    movie.close()
    with pytest.raises(ValueError):
        movie[0]
    with pytest.raises(RuntimeError), vorlane.MovieWriter(tmp_path / "no.avi") as writer:
        writer.write(np.zeros((4, 4)))
        raise RuntimeError
    assert not (tmp_path / "no.avi").exists()
