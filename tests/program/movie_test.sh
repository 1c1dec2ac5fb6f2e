#!/usr/bin/env bash
# Movies with the program: built from images, edited, converted and taken apart again.
. "$(dirname "$0")/common.sh"

printf 'P6\n2 2\n255\nabcdefghijkl' >f1.ppm
printf 'P6\n2 2\n255\nABCDEFGHIJKL' >f2.ppm
"$program" movie build 'a b.avi' f1.ppm f2.ppm 2>err.txt
[ ! -s err.txt ] || fail "there is a progress bar without a terminal"
"$program" movie info 'a b.avi' | grep -q 'AVI movie, 2 frames of 2 rows x 2 columns, colour' || fail info
"$program" movie convert 'a b.avi' c.tq
"$program" movie frames c.tq 'g%.ppm' --first 1
cmp f1.ppm g1.ppm && cmp f2.ppm g2.ppm || fail "frames have changed on their way"
"$program" movie crop c.tq d.avi --frames 1 1 --rectangle 1 0 1 2
"$program" movie frames d.avi 'h%.ppm'
[ "$(tail -c 6 h0.ppm)" = GHIJKL ] || fail crop
head -c 36 /dev/zero | tr '\0' Q >yuv
"$program" movie from-yuv yuv e.avi --rows 4 --cols 6 --frames 1
"$program" movie info e.avi | grep -q '1 frames of 4 rows x 6 columns' || fail from-yuv

expect 1 "Can't open file" "$program" movie convert missing x.avi
expect 1 "frames 0 to 1" "$program" movie crop c.tq x.avi --frames 0 2
expect 1 "ending" "$program" movie convert c.tq x.mov
expect 2 "" "$program" movie reduce c.tq x.avi --factor 0
if [ -e /dev/full ]; then
    ln -s /dev/full full.avi
    expect 1 "No space left" "$program" movie convert c.tq full.avi
fi
[ -z "$(find . -name 'x.*')" ] || fail "something half-written stays behind"
