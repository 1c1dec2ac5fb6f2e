#!/usr/bin/env python3
"""A scheduler and two workers as separate processes on this machine, one of which is killed at work.

    scripts/python examples/cluster.py          needs python3-distributed python3-dask

The result is whole, and bit for bit that of one process. With workers on other machines that see the same
files only the address changes.
"""

import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import numpy as np
from dask.distributed import Client

import vorlane

PICTURES = 24


def start(*words):
    return subprocess.Popen([sys.executable, "-m", *words], stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL)


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        (folder / "in").mkdir()
        scene = np.random.default_rng(1).integers(0, 256, (500, 700)).astype(np.uint8)
        for n in range(PICTURES):
            vorlane.write(folder / "in" / f"{n:02d}.pgm", np.roll(scene, n))

        told = folder / "scheduler.json"
        processes = [start("distributed.cli.dask_scheduler", "--port", "0", "--no-dashboard",
                           "--scheduler-file", str(told))]
        try:
            while not told.exists():
                time.sleep(0.1)
            for _ in range(2):
                processes.append(start("distributed.cli.dask_worker", "--scheduler-file", str(told),
                                       "--nthreads", "1", "--no-nanny", "--no-dashboard"))
            with Client(scheduler_file=str(told)) as client:
                client.wait_for_workers(2)
                address = client.scheduler.address
            batch = subprocess.Popen([sys.executable, "-m", "vorlane.batch", str(folder / "in"),
                                      str(folder / "out"), "median", "size=9", "--as", "pgm",
                                      "--scheduler", address])
            while batch.poll() is None and len(list(folder.glob("out/*.pgm"))) < 3:
                time.sleep(0.02)
            processes[1].send_signal(signal.SIGKILL)
            print("killed a worker after", len(list(folder.glob("out/*.pgm"))), "pictures")
            if batch.wait() != 0:
                return 1
        finally:
            for process in processes:
                process.kill()
                process.wait()
        same = sum(bool((vorlane.read(folder / "out" / f"{n:02d}.pgm")
                         == vorlane.median(np.roll(scene, n), 9)).all()) for n in range(PICTURES))
        print(same, "of", PICTURES, "pictures are bit for bit those of one process")
        return 0 if same == PICTURES else 1


if __name__ == "__main__":
    sys.exit(main())
