#!/usr/bin/env bash
# What a window of Windows shows of a picture is what a device in memory holds of it, pixel by pixel.
#
#   shown_picture_test.sh FOLDER_OF_PROGRAMS EMULATOR
set -euo pipefail
programs=$1 emulator=$2
work=$(mktemp -d)
server= viewer=
end() {
    [ -z "$viewer" ] || kill "$viewer" || true
    [ -z "$server" ] || kill "$server" || true
    rm -rf "$work"
}
trap end EXIT
cd "$work"
Xvfb -displayfd 3 -screen 0 800x600x24 3>display >/dev/null 2>&1 &
server=$!
for _ in $(seq 100); do
    [ -s display ] && break
    sleep 0.1
done
DISPLAY=:$(cat display)
export DISPLAY LC_ALL=C.UTF-8
"$emulator" "$programs/test-picture.exe" 'grüner Wald.ppm'
"$emulator" "$programs/show_picture.exe" 'grüner Wald.ppm' seen.ppm &
viewer=$!
different=no
for _ in $(seq 40); do # until the window is there, and painted
    sleep 0.5
    [ -s seen.ppm ] || continue
    import -window root screen.png
    # Where a piece of the picture is, the whole of it should be.
    convert seen.ppm -crop 24x24+200+200 +repage piece.png
    place=$(compare -metric AE -subimage-search screen.png piece.png null: 2>&1) || true
    [[ $place =~ ^0\ @\ ([0-9]+),([0-9]+) ]] || continue
    convert screen.png -crop "480x360+$((BASH_REMATCH[1] - 200))+$((BASH_REMATCH[2] - 200))" +repage shown.png
    different=$(compare -metric AE shown.png seen.ppm null: 2>&1) || true
    [ "$different" != 0 ] || exit 0
done
echo "$different pixels of the window aren't those in memory"
exit 1
