#!/usr/bin/env python3
"""Runs every piece of code in the guide, and makes its pictures.

    scripts/guide            runs all, compares what is printed and drawn with the pages
    scripts/guide --update   the same, and puts what is new into the pages and pictures/

A page's blocks run in their order in one folder: `sh`, `cpp` (the body of a function) and `python`. What a block prints
is the `text` block behind it, if there is one; `...` in it stands for anything. A block in a comment, <!--sh ... -->,
runs likewise and isn't shown. A picture is a PNG that a block leaves under the name that the page shows; that of the viewer is made and not compared,
since letters on a screen are the system's.
"""

import argparse
import io
import os
import re
import contextlib
import shutil
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
BLOCK = re.compile(r"^(?:```|<!--)(sh|cpp|python)\n(.*?)^(?:```|-->)\n(?:\n?```text\n(.*?)^```\n)?", re.M | re.S)


def pages():
    """In the order of the index."""
    return [HERE / name for name in re.findall(r"\]\((\w[\w-]*\.md)\)", (HERE / "README.md").read_text())]


def compiled(blocks, arguments, work):
    """One program of all C++ blocks; its argument is the number of the one that runs."""
    functions = "".join(f"void block_{k}() {{\n{code}}}\n" for k, code in enumerate(blocks))
    cases = "".join(f"case {k}: block_{k}(); break;\n" for k in range(len(blocks)))
    (work / "guide.cpp").write_text(
        "#include <cmath>\n#include <cstdio>\n#include <cstdlib>\n#include <memory>\n#include <vector>\n"
        "#include <vorlane/vorlane.h>\n" + functions +
        f"int main(int, char** argv) {{\nswitch (std::atoi(argv[1])) {{\n{cases}}}\n}}\n")
    subprocess.run([arguments.compiler, "-std=c++17", "-Wall", "-Wextra", "-Werror", f"-I{arguments.source}",
                    str(work / "guide.cpp"), str(arguments.library), f"-Wl,-rpath,{arguments.library.parent}",
                    "-o", str(work / "guide")], check=True)
    return work / "guide"


def run(kind, code, folder, environment, names, program, number):
    """What a block prints."""
    if kind == "python":
        printed = io.StringIO()
        before = os.getcwd()
        os.chdir(folder)
        try:
            with contextlib.redirect_stdout(printed):
                exec(compile(code, "guide", "exec"), names)
        finally:
            os.chdir(before)
        return printed.getvalue()
    command = [str(program), str(number)] if kind == "cpp" else ["bash", "-euo", "pipefail", "-c", code]
    done = subprocess.run(command, cwd=folder, env=environment, capture_output=True, text=True)
    if done.returncode != 0:
        raise RuntimeError(f"{code}\nended with {done.returncode}: {done.stderr}")
    return done.stdout


def matches(expected, printed):
    pattern = ".*?".join(re.escape(part) for part in expected.rstrip().split("..."))
    return re.fullmatch(pattern, printed.rstrip(), re.S) is not None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", type=Path, required=True)
    parser.add_argument("--work", type=Path, required=True)
    parser.add_argument("--library", type=Path, required=True)
    parser.add_argument("--program", type=Path, required=True)
    parser.add_argument("--painter", type=Path, required=True, help="the program that draws the scene")
    parser.add_argument("--compiler", default="c++")
    parser.add_argument("--python", type=Path, help="the folder of the module; without it its blocks are left out")
    parser.add_argument("--viewer", type=Path, help="the viewer; without it, or a display for it, its page has no picture")
    parser.add_argument("--update", action="store_true")
    arguments = parser.parse_args()

    arguments.work = arguments.work.resolve()
    shutil.rmtree(arguments.work, ignore_errors=True)
    arguments.work.mkdir(parents=True)
    texts = {page: page.read_text() for page in pages()}
    found = {page: list(BLOCK.finditer(text)) for page, text in texts.items()}
    cpp = [block[2] for blocks in found.values() for block in blocks if block[1] == "cpp"]
    program = compiled(cpp, arguments, arguments.work)
    folders = [str(path.parent) for path in (arguments.program, arguments.viewer) if path]
    environment = {**os.environ, "PATH": ":".join([*folders, os.environ["PATH"]]), "LC_ALL": "C"}
    has_viewer = arguments.viewer and shutil.which("Xvfb") and shutil.which("xdotool") and shutil.which("import")
    if arguments.python:
        sys.path.insert(0, str(arguments.python))
        environment["PYTHONPATH"] = str(arguments.python)
    os.environ["PATH"] = environment["PATH"]  # for blocks of Python

    faults, number, blocks_run = [], 0, 0
    for page, blocks in found.items():
        folder = arguments.work / page.stem
        folder.mkdir()
        subprocess.run([str(arguments.painter), "harbour.ppm"], cwd=folder, check=True)
        names, text, is_whole = {}, texts[page], True
        for block in blocks:
            kind, code, expected = block.groups()
            if kind == "python" and not arguments.python or "vorlane-view" in code and not has_viewer:
                is_whole = False
                continue
            try:
                printed = run(kind, code, folder, environment, names, program, number)
            except Exception as error:  # the page's code may fail in any way
                faults.append(f"{page.name}: {error}")
                printed = None
            number += kind == "cpp"
            blocks_run += 1
            if printed is None or expected is None or matches(expected, printed):
                continue
            if arguments.update:
                text = text.replace(block[0], block[0].replace(f"```text\n{expected}", f"```text\n{printed}"))
            else:
                faults.append(f"{page.name}: {code}prints\n{printed}instead of\n{expected}")
        if arguments.update:
            page.write_text(text)
        for name in re.findall(r"!\[[^\]]*\]\(pictures/([\w-]+\.png)\)", text):
            if not (folder / name).exists():
                if is_whole:
                    faults.append(f"{page.name}: nothing makes {name}")
            elif arguments.update:
                (HERE / "pictures").mkdir(exist_ok=True)
                shutil.copy(folder / name, HERE / "pictures" / name)
            elif name != "viewer.png" and subprocess.run([str(arguments.program), "compare", str(folder / name), str(HERE / "pictures" / name)],
                                capture_output=True).returncode != 0:
                faults.append(f"{page.name}: {name} isn't the picture in pictures/")
    print("\n".join(faults) or f"{len(found)} pages, {blocks_run} blocks: all as the pages say")
    return 1 if faults or blocks_run == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
