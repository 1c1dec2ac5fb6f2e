"""The viewer as a person sees it: keys and the mouse go in, and what the window shows is compared with what the
program computes. It runs on a display of its own.

    session_test.py VIEWER PROGRAM
"""
import os
import subprocess
import sys
import tempfile
import time

import numpy as np

viewer, program = map(os.path.abspath, sys.argv[1:3])
width, height, panel = 900, 700, 330
patience = 8.0


def save(path, samples):
    kind = "P6" if samples.ndim == 3 else "P5"
    with open(path, "wb") as file:
        file.write(f"{kind}\n{samples.shape[1]} {samples.shape[0]}\n255\n".encode())
        file.write(samples.astype(np.uint8).tobytes())


def load(data):
    fields = data.split(maxsplit=4)[:4]
    cols, rows = int(fields[1]), int(fields[2])
    channels = 3 if fields[0] == b"P6" else 1
    samples = np.frombuffer(data[len(data) - rows * cols * channels:], np.uint8)
    return samples.reshape(rows, cols, 3) if channels == 3 else np.repeat(samples.reshape(rows, cols, 1), 3, axis=2)


def run(*words):
    subprocess.run([program, *words], check=True, stderr=subprocess.DEVNULL)


def computed(*words):
    run(*words, "computed.ppm", "--force")
    with open("computed.ppm", "rb") as file:
        return load(file.read())


def seen():
    data = subprocess.run(["import", "-window", "root", "-depth", "8", "ppm:-"], capture_output=True, check=True).stdout
    return load(data)


def place_of(picture, screen):
    """Where the picture stands on the screen, as (row, column), or None."""
    rows, cols = picture.shape[:2]
    if screen.shape[0] < rows or screen.shape[1] < cols:
        return None
    corners = np.ones((screen.shape[0] - rows + 1, screen.shape[1] - cols + 1), bool)
    for i, j in [(0, 0), (rows - 1, cols - 1), (rows // 2, cols // 2), (rows // 3, cols // 4)]:
        corners &= (screen[i:i + corners.shape[0], j:j + corners.shape[1]] == picture[i, j]).all(axis=2)
    for y, x in np.argwhere(corners):
        if (screen[y:y + rows, x:x + cols] == picture).all():
            return int(y), int(x)
    return None


def wait_until(what, fits):
    end = time.monotonic() + patience
    while time.monotonic() < end:
        assert session.poll() is None, f"the viewer ended with {session.returncode} while waiting for {what}"
        found = fits(seen())
        if found is not None and found is not False:
            return found
        time.sleep(0.05)
    sys.exit(f"FAILED: {what} isn't seen")


def see(what, picture, at=None):
    wait_until(what, lambda screen: place_of(picture, screen) == at if at else place_of(picture, screen))


def press(*keys):
    subprocess.run(["xdotool", "key", "--delay", "20", *keys], check=True)


def mouse(*words):
    subprocess.run(["xdotool", *map(str, words)], check=True)


def stretched(levels, low, high):
    return np.clip((levels.astype(float) - low) * 255.0 / (high - low), 0, 255).astype(np.uint8)


folder = tempfile.TemporaryDirectory()
os.chdir(folder.name)
i, j = np.mgrid[0:150, 0:200]
gray = (40 + (i * 7 + j * 3) % 97 + 60 * ((i - 70) ** 2 + (j - 90) ** 2 < 2000)).astype(np.uint8)
save("picture.pgm", gray)
colour = np.stack([gray, 255 - gray, (gray // 2 + j % 50).astype(np.uint8)], axis=2)
save("colour.ppm", colour)
for k in range(3):
    save(f"frame{k}.pgm", np.roll(gray, 11 * k, axis=1))
run("movie", "build", "movie.tq", "frame0.pgm", "frame1.pgm", "frame2.pgm")
voxels = np.stack([np.roll(gray, 5 * k, axis=0)[:90, :120] for k in range(6)])
with open("volume.data", "wb") as file:
    file.write(voxels.tobytes())
with open("volume.txt", "w") as file:
    file.write("V2\nfile=volume.data\nnbf=6\nrow=90\ncol=120\nsize=1\n")
with open("bad.png", "wb") as file:
    file.write(b"\x89PNG\r\n\x1a\n" + bytes(range(100)))
with open("cut.pgm", "wb") as file:
    file.write(b"P5\n4000 4000\n255\nshort")
shown = np.repeat(gray[:, :, None], 3, axis=2)

# Wrong arguments end it before a window opens.
for words in [["--size", "big"], ["--what"], ["--run", "edgse", "picture.pgm"]]:
    wrong = subprocess.run([viewer, *words], capture_output=True, text=True)
    assert wrong.returncode == 2 and wrong.stderr.count("\n") >= 1, wrong
assert "vorlane-view" in subprocess.run([viewer, "--help"], capture_output=True, text=True, check=True).stdout

number_in, number_out = os.pipe()
display = subprocess.Popen(["Xvfb", "-displayfd", str(number_out), "-screen", "0", f"{width}x{height}x24", "-nolisten", "tcp"],
                           pass_fds=[number_out], stderr=subprocess.DEVNULL)
os.close(number_out)
os.environ.update(DISPLAY=":" + os.read(number_in, 16).decode().strip(), XDG_CONFIG_HOME=folder.name,
                  LIBGL_ALWAYS_SOFTWARE="1", SDL_VIDEODRIVER="x11")
log = open("log.txt", "w+")
begin = time.monotonic()
session = subprocess.Popen([viewer, "--size", f"{width}x{height}", "bad.png", "cut.pgm", "missing.pgm", "movie.tq",
                            "volume.txt", "picture.pgm"], stdout=log, stderr=log)
try:
    middle = ((width - panel) // 2, height // 2)
    wait_until("a window", lambda screen: (screen[:16, :200] > 200).any())
    print(f"the first picture after {time.monotonic() - begin:.2f} s")
    mouse("mousemove", *middle)

    def at_its_size(picture): # once the window has the keyboard
        def fits(screen):
            press("1")
            return place_of(picture, screen)
        return fits
    y, x = wait_until("the picture", at_its_size(shown))

    # Levels: the window is spread over the bytes as those of a bitmap are.
    press("r")
    see("all levels", np.repeat(stretched(gray, gray.min(), gray.max())[:, :, None], 3, axis=2))
    press("b")

    # The left button drags, the right one changes the window.
    mouse("mousemove", *middle, "mousedown", 1, "mousemove_relative", 31, 17, "mouseup", 1)
    see("the dragged picture", shown, (y + 17, x + 31))
    press("f", "1")
    see("the picture in its middle", shown, (y, x))
    mouse("mousemove", *middle, "mousedown", 3, "mousemove_relative", 40, 0, "mouseup", 3)
    wait_until("a flatter picture", lambda screen: 0 < np.ptp(screen[y:y + 150, x:x + 200].astype(int)) < np.ptp(gray) - 5)
    press("b")

    # What is under the cursor stays there when the wheel zooms.
    px, py = x + 123, y + 45
    mouse("mousemove", px, py, "click", 4, "click", 4, "click", 4, "click", 4)
    wait_until("a larger picture", lambda screen: place_of(shown, screen) is None and
               (screen[py, px] == gray[45, 123]).all() and screen[py, px + 1, 0] == gray[45, 123])
    press("f", "1")
    see("the picture again", shown)

    # Operations, beside what the program makes of the same picture.
    press("e")
    edges = computed("edges", "picture.pgm")
    see("edges", edges, (y, x))
    press("x", "x")
    def half(screen):
        at = (width - panel) // 2 - x
        return (screen[y:y + 150, x:x + at - 3] == shown[:, :at - 3]).all() and \
               (screen[y:y + 150, x + at + 3:x + 200] == edges[:, at + 3:]).all()
    wait_until("input and result, split", half)
    press("ctrl+c", "ctrl+shift+s", "BackSpace", "m")
    see("a median", computed("filter", "median", "picture.pgm"))
    press("BackSpace")
    see("the input", shown)
    for _ in range(100):
        if os.path.exists("picture-result.tif"):
            break
        time.sleep(0.1)
    saved = computed("convert", "picture-result.tif")
    assert (saved == edges).all(), "the result that was saved"

    # What is seen, as a file.
    press("ctrl+s")
    wait_until("picture-seen.png", lambda screen: os.path.exists("picture-seen.png"))
    assert place_of(shown, computed("convert", "picture-seen.png")) is not None

    # Frames of a movie, and the largest samples along the slices of a volume.
    press("n", "1")
    see("frame 0", shown)
    press("Next", "Next")
    see("frame 2", np.roll(shown, 22, axis=1))
    press("Prior")
    see("frame 1", np.roll(shown, 11, axis=1))
    press("n", "1", "b")
    see("the projection", np.repeat(voxels.max(axis=0)[:, :, None], 3, axis=2))

    # A file that has changed is read again, and typed names open.
    press("n", "1")
    see("the picture", shown)
    save("picture.pgm", gray[::-1])
    press("F5")
    see("the changed picture", shown[::-1])
    press("ctrl+o")
    mouse("type", "--delay", "30", os.path.join(folder.name, "colour.ppm"))
    press("Return")
    wait_until("colours", at_its_size(colour))
    press("F1", "Escape", "c", "c", "g", "p", "Home", "ctrl+q")
    assert session.wait(patience) == 0, f"exit status {session.returncode}"
finally:
    if session.poll() is None:
        session.kill()
    display.terminate()
    display.wait()
    log.seek(0)
    text = log.read()
    print(text, end="")
assert "ERROR" not in text and "runtime error" not in text, "the viewer's errors"
print("the viewer shows what the library computes")
