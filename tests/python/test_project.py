"""The documents of the module run, and its types hold."""

import doctest
import importlib
import pkgutil
import subprocess
import sys
from pathlib import Path

import pytest

import vorlane

PACKAGE = Path(vorlane.__file__).parent


def test_examples_run():
    tried = 0
    for module in pkgutil.iter_modules([str(PACKAGE)]):
        if module.name in ("_core", "batch", "dask"):
            continue
        result = doctest.testmod(importlib.import_module("vorlane." + module.name))
        assert result.failed == 0
        tried += result.attempted
    assert doctest.testmod(vorlane).failed == 0 and tried > 20


def test_every_function_is_documented():
    for name in vorlane.__all__:
        assert name.startswith("__") or getattr(vorlane, name).__doc__, name


def test_types():
    pytest.importorskip("mypy")
    check = subprocess.run([sys.executable, "-m", "mypy", "--strict", "--no-incremental",
                            "--cache-dir=/dev/null", "--ignore-missing-imports",
                            "--exclude", "dask|batch", str(PACKAGE)],
                           capture_output=True, text=True)
    assert check.returncode == 0, check.stdout


def test_the_gallery_is_made(tmp_path):
    for package in ("matplotlib", "scipy", "skimage"):
        pytest.importorskip(package)
    gallery = Path(__file__).parents[2] / "docs" / "python" / "gallery.py"
    made = subprocess.run([sys.executable, str(gallery), str(tmp_path)], capture_output=True,
                          text=True)
    assert made.returncode == 0, made.stderr
    assert made.stdout.count("|\n") == 5
    assert {path.name for path in tmp_path.iterdir()} == {"smooth.png", "edges.png", "ridges.png"}
