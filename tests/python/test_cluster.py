"""Operations on Dask arrays, and the batch command on workers that die."""

import os
import signal
import subprocess
import sys
import time

import numpy as np
import pytest

import vorlane

da = pytest.importorskip("dask.array")
pytest.importorskip("distributed")
pytest.importorskip("zarr")
import vorlane.batch  # noqa: E402
import vorlane.dask  # noqa: E402

PICTURE = np.random.default_rng(1).random((700, 900)).astype(np.float32) * 255


@pytest.mark.parametrize("sigma", [1.0, 3.0])
@pytest.mark.parametrize("error", [1e-2, 1e-5])
def test_tiles_keep_the_bound(sigma, error):
    tiles = da.from_array(PICTURE, chunks=(256, 300))
    bound = error * PICTURE.max() + 1e-3 * (error < 1e-4)
    smooth = vorlane.dask.smooth(tiles, sigma, error=error).compute(scheduler="threads")
    assert np.abs(smooth - vorlane.smooth(PICTURE, sigma)).max() <= bound
    slope = vorlane.dask.derivative(tiles, sigma, 1, error=error).compute(scheduler="threads")
    assert np.abs(slope - vorlane.derivative(PICTURE, sigma, 1)).max() <= bound


def test_windows_are_exact_in_tiles():
    tiles = da.from_array(PICTURE, chunks=(200, 300))
    for ours, whole in ((vorlane.dask.median(tiles, 5), vorlane.median(PICTURE, 5)),
                        (vorlane.dask.distance_mean(tiles, 4), vorlane.distance_mean(PICTURE, 4)),
                        (vorlane.dask.sobel(tiles), vorlane.sobel(PICTURE)),
                        (vorlane.dask.threshold(tiles, 90), vorlane.threshold(PICTURE, 90))):
        assert (ours.compute(scheduler="threads") == whole).all()


def test_a_stack_is_mapped_picture_by_picture():
    stack = da.from_array(PICTURE[:600].reshape(6, 100, 900), chunks=(4, 50, 900))
    found = vorlane.dask.each(vorlane.edges, stack, 1.0).compute(scheduler="threads")
    expected = [vorlane.edges(picture, 1.0) for picture in np.asarray(stack)]
    assert found.dtype == bool and (found == np.stack(expected)).all()
    halves = vorlane.dask.each(vorlane.reduce, stack, 2).compute(scheduler="threads")
    assert halves.shape == (6, 50, 450)


def start(*words):
    return subprocess.Popen([sys.executable, "-m", *words], stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL)


def test_a_worker_that_is_killed_costs_nothing(tmp_path):
    """A scheduler and two workers as processes; one of them is killed in the middle."""
    from dask.distributed import Client

    pictures = tmp_path / "in"
    pictures.mkdir()
    for n in range(24):
        vorlane.write(pictures / f"{n:02d}.pgm", np.roll(PICTURE, n).round())
    (pictures / "bad.pgm").write_bytes(b"P5\nnothing")
    told = tmp_path / "scheduler.json"
    processes = [start("distributed.cli.dask_scheduler", "--port", "0", "--no-dashboard",
                       "--scheduler-file", str(told))]
    try:
        for _ in range(300):
            if told.exists():
                break
            time.sleep(0.1)
        for _ in range(2):
            processes.append(start("distributed.cli.dask_worker", "--scheduler-file", str(told),
                                   "--nthreads", "1", "--no-nanny", "--no-dashboard"))
        with Client(scheduler_file=str(told), timeout=60) as client:
            client.wait_for_workers(2, timeout=90)
            address = client.scheduler.address
        out = tmp_path / "out"
        batch = subprocess.Popen([sys.executable, "-m", "vorlane.batch", str(pictures), str(out),
                                  "median", "size=9", "--as", "pgm", "--scheduler",
                                  address],
                                 stderr=subprocess.PIPE, text=True)
        while batch.poll() is None and not (out.exists() and len(list(out.glob("*.pgm"))) > 2):
            time.sleep(0.02)
        processes[1].send_signal(signal.SIGKILL)
        said = batch.communicate(timeout=120)[1]
        assert batch.returncode == 1 and "bad" in said
        for n in range(24):
            expected = vorlane.median(np.roll(PICTURE, n).round(), 9)
            assert (vorlane.read(out / f"{n:02d}.pgm") == expected).all(), n
    finally:
        for process in processes:
            process.kill()
            process.wait()


def test_batch_between_stores(tmp_path):
    import zarr

    store = zarr.open(str(tmp_path / "in.zarr"), mode="w", shape=(3, 40, 50), chunks=(1, 40, 50),
                      dtype="f4")
    store[:] = PICTURE[:120, :50].reshape(3, 40, 50)
    assert vorlane.batch.run(str(tmp_path / "in.zarr"), str(tmp_path / "out.zarr"), "smooth",
                             {"sigma": 2.0}, workers=1) == []
    found = zarr.open(str(tmp_path / "out.zarr"), mode="r")
    assert (found[2] == vorlane.smooth(store[2], 2.0)).all()
    for bad in ("Histogram", "no_such", "os"):
        with pytest.raises(ValueError):
            vorlane.batch.run(str(tmp_path / "in.zarr"), str(tmp_path / "x.zarr"), bad, {})
    os.mkdir(tmp_path / "empty")
    with pytest.raises(ValueError, match="no pictures"):
        vorlane.batch.run(str(tmp_path / "empty"), str(tmp_path / "x.zarr"), "smooth", {})
