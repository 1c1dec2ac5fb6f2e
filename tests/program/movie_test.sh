#!/usr/bin/env bash
# Movies with the program: built from images, edited, converted and taken apart again, also those of
# other people's programs.
. "$(dirname "$0")/common.sh"

printf 'P6\n2 2\n255\nabcdefghijkl' >f1.ppm
printf 'P6\n2 2\n255\nABCDEFGHIJKL' >f2.ppm
"$program" movie build 'a b.avi' f1.ppm f2.ppm --fps 12.5 2>err.txt
[ ! -s err.txt ] || fail "there is a progress bar without a terminal"
"$program" movie info 'a b.avi' | grep -q 'AVI movie, 2 frames of 2 rows x 2 columns, colour, 12.5 frames a second' || fail info
"$program" movie convert 'a b.avi' c.tq
"$program" movie frames c.tq 'g%03d.ppm' --first 1
cmp f1.ppm g001.ppm && cmp f2.ppm g002.ppm || fail "frames have changed on their way"
long=$(printf 'ein länger Name %.0s' {1..8})
mkdir "$long" && cp c.tq "$long/ü.tq"
"$program" movie frames "$long/ü.tq" 'l%.ppm'
cmp f2.ppm l1.ppm || fail "a long path"
"$program" movie crop c.tq d.avi --frames 1 1 --rectangle 1 0 1 2
"$program" movie frames d.avi 'h%.ppm'
[ "$(tail -c 6 h0.ppm)" = GHIJKL ] || fail crop
head -c 36 /dev/zero | tr '\0' Q >yuv
"$program" movie from-yuv yuv e.avi --rows 4 --cols 6 --frames 1 --fps 30
"$program" movie info e.avi | grep -q '1 frames of 4 rows x 6 columns.*30 frames a second' || fail from-yuv

# One range for all frames.
printf 'TQ\n1 2\n6\n0\n\0\0\0\0\0\0\200\77' >v1.tq
printf 'TQ\n1 2\n6\n0\n\0\0\200\277\0\0\200\103' >v2.tq # 0 1, -1 256
expect 0 "values -1 to 256 stretched" "$program" movie build v.avi v1.tq v2.tq
"$program" movie frames v.avi 'w%.pgm'
[ "$(tail -c 2 w0.pgm | od -An -tu1)" = "   1   2" ] || fail "the range of the movie: $(tail -c 2 w0.pgm | od -An -tu1)"
"$program" movie build v.tq v1.tq v2.tq
"$program" movie frames v.tq 'x%.tq'
cmp x1.tq v2.tq || fail "floats have changed on their way"

expect 1 "missing: can't be opened" "$program" movie convert missing x.avi
expect 2 "frames 0 to 1" "$program" movie crop c.tq x.avi --frames 0 2
expect 2 "ending" "$program" movie convert c.tq x.xyz
expect 2 "" "$program" movie reduce c.tq x.avi --factor 0
expect 1 "not a movie" "$program" movie info f1.ppm
printf 'P5\n2 2\n255\nabcd' >gray.pgm
expect 1 "has colour" "$program" movie build x.tq gray.pgm f1.ppm
head -c 300 'a b.avi' >cut.avi
expect 1 "cut.avi" "$program" movie convert cut.avi x.tq
if [ -e /dev/full ] && [ -z "$emulator" ]; then
    ln -s /dev/full full.avi
    expect 1 "No space left" "$program" movie convert c.tq full.avi
fi
[ -z "$(find . -name 'x.*')" ] || fail "something half-written stays behind"

command -v ffmpeg >/dev/null || { echo "movies do as told; no ffmpeg to make others"; exit 0; }
"$program" movie convert c.tq probe.mp4 2>/dev/null || { echo "movies do as told; this build has no codecs"; exit 0; }
make() { ffmpeg -nostdin -v error -y -f lavfi -i "testsrc=size=64x48:rate=25:duration=1" "$@"; }
has_frames() { "$program" movie info "$1" | grep -q "25 frames of $2"; }
make -c:v libx264 -pix_fmt yuv420p h.mp4
make -c:v mjpeg m.avi
make -c:v ffv1 -pix_fmt bgr0 l.mkv
make -pix_fmt gray12le -c:v ffv1 deep.mkv
make -c:v libvpx-vp9 v.webm
make -c:v mpeg2video p.mpg
for movie in h.mp4 m.avi l.mkv deep.mkv v.webm p.mpg; do
    has_frames $movie "48 rows x 64 columns" || fail "$movie: $("$program" movie info $movie)"
done
# Lossless frames are those of ffmpeg, to the bit.
ffmpeg -nostdin -v error -i l.mkv -pix_fmt rgb24 -start_number 0 theirs%d.ppm
"$program" movie frames l.mkv 'ours%.ppm'
for n in 0 7 24; do cmp theirs$n.ppm ours$n.ppm || fail "frame $n"; done
"$program" movie frames deep.mkv 'deep%.tq'
[ "$(head -n 3 deep0.tq | tail -n 1)" = 7 ] || fail "12 bits have become bytes"
# What is written, others read.
"$program" movie convert l.mkv o.mkv
ffmpeg -nostdin -v error -i o.mkv -pix_fmt rgb24 -start_number 0 again%d.ppm
cmp again13.ppm theirs13.ppm || fail "a frame that was written without loss"
for ending in mp4 mov gif avi; do
    "$program" movie convert l.mkv o.$ending --fps 10
    [ "$(ffprobe -v error -count_frames -show_entries stream=nb_read_frames,avg_frame_rate -of csv=p=0 o.$ending)" = "10/1,25" ] || fail "o.$ending: $(ffprobe -v error -count_frames -show_entries stream=nb_read_frames,avg_frame_rate -of csv=p=0 o.$ending)"
done
# Turned the way up that the file states.
ffmpeg -nostdin -v error -i h.mp4 -c copy -metadata:s:v rotate=90 turned.mp4
has_frames turned.mp4 "64 rows x 48 columns" || fail "turned: $("$program" movie info turned.mp4)"
head -c $(($(stat -c %s h.mp4) / 2)) h.mp4 >cut.mp4
expect 1 "cut.mp4" "$program" movie convert cut.mp4 x.avi
[ ! -e x.avi ] || fail "half a movie"
echo "movies do as told"

# A chain on every frame gives what it gives on each picture.
"$program" movie run 'math invert | filter threshold --level 90' c.tq r.tq
"$program" movie frames r.tq 'r%.ppm'
"$program" run 'math invert | filter threshold --level 90' f2.ppm r.ppm
"$program" compare r.ppm r1.ppm >out.txt || fail "a chain differs on frames: $(cat out.txt)"
expect 2 "unknown step 'edgse'" "$program" movie run edgse c.tq x.avi
expect 2 "is an input" "$program" movie convert c.tq ./c.tq
