#!/usr/bin/env bash
# The program's way with formats: every ending, headerless data, and other programs' opinion of our files.
. "$(dirname "$0")/common.sh"
same() { cmp -s "$1" "$2" || fail "$1 and $2 differ"; }

# Every byte value once in gray, and a colour picture whose rows need padding.
{ printf 'P5\n16 16\n255\n'; for i in {0..255}; do printf "\\x$(printf %x "$i")"; done; } >gray.pgm
{ printf 'P6\n5 3\n255\n'; for i in {10..54}; do printf "\\x$(printf %x $((i * 5 % 256)))"; done; } >colour.ppm

for picture in gray.pgm colour.ppm; do
    ending=${picture##*.}
    depth=$([ "$ending" = pgm ] && echo 8 || echo 24)
    "$program" convert "$picture" there.bmp
    "$program" convert there.bmp "back.$ending"
    same "$picture" "back.$ending"
    "$program" convert "$picture" there.tq
    "$program" convert there.tq "back.$ending"
    same "$picture" "back.$ending"
    # Independent readers and writers, where they are installed.
    if command -v bmptopnm >/dev/null; then
        "$program" convert "$picture" there.bmp
        bmptopnm there.bmp >other.pnm 2>/dev/null
        same "$picture" other.pnm
        ppmtobmp -bpp=$depth "$picture" >other.bmp 2>/dev/null
        "$program" convert other.bmp "back.$ending"
        same "$picture" "back.$ending"
    fi
    if convert --version 2>/dev/null | grep -q ImageMagick; then
        convert there.bmp "other.$ending"
        same "$picture" "other.$ending"
        convert "$picture" -depth 8 -compress none other.bmp
        "$program" convert other.bmp "back.$ending"
        same "$picture" "back.$ending"
    fi
done

for samples in byte int16 int32 float; do
    "$program" convert gray.pgm there.tq --samples $samples
    "$program" convert there.tq back.pgm --depth 8
    same gray.pgm back.pgm
    "$program" convert gray.pgm there.raw --samples $samples
    "$program" raw there.raw back.pgm --rows 16 --cols 16 --samples $samples --depth 8
    same gray.pgm back.pgm
done
"$program" info there.tq | grep -q 'TQ, 16 rows x 16 columns, gray, 32-bit floats, values 0 to 255' || fail info

# Sixteen bits stay sixteen, though a filter overshoots them a little.
if ! lacks PNG && command -v convert >/dev/null; then
    convert -size 32x32 xc:black -fill white -draw 'rectangle 8,8 23,23' -depth 16 -define png:bit-depth=16 -colorspace Gray words.png
    "$program" smooth words.png smooth.png --sigma 1 2>notes
    grep -q '^smooth.png: values -.* clamped to 0 to 65535$' notes || fail "notes on 16 bits: $(cat notes)"
    "$program" info smooth.png | grep -q '16-bit integers' || fail "16 bits: $("$program" info smooth.png)"
fi

# A velk file is its size and big-endian words; behind a header it is a scanner file.
"$program" convert gray.pgm there.velk
"$program" raw there.velk back.pgm --rows 16 --cols 16 --samples int16 --swap --offset 4 --depth 8
same gray.pgm back.pgm
"$program" convert there.velk back.pgm --scanner --depth 8
same gray.pgm back.pgm
"$program" info there.velk --scanner | grep -q 'senvoc scanner file, 16 rows' || fail "info of a scanner file"
"$program" raw colour.ppm back.ppm --rows 3 --cols 5 --colour together --offset 11
same colour.ppm back.ppm

{ printf header; head -c 131072 /dev/zero; } >template
"$program" convert gray.pgm there.halvort --template template
[ "$(stat -c %s there.halvort)" = 518 ] || fail "length of the halvort file"
"$program" convert there.halvort back.pgm --scanner --depth 8
same gray.pgm back.pgm

if "$program" raw gray.pgm new.tq --rows 100000 --cols 100000 2>err.txt; then fail "a bomb was read"; fi
grep -q "can't be read as a picture of this size" err.txt || fail "$(cat err.txt)"
if "$program" convert gray.pgm new.halvort 2>err.txt; then fail "a halvort file without a template"; fi
grep -q "new.halvort" err.txt || fail "$(cat err.txt)"
printf 'BM and no more than this' >bad.bmp
if "$program" info bad.bmp 2>err.txt; then fail "a bad bitmap was read"; fi
grep -q "bad.bmp: " err.txt || fail "$(cat err.txt)"
[ -z "$(ls | grep -E '^new|\.halvort\.')" ] || fail "left behind: $(ls)"
"$program" raw --help | grep -q Example || fail "no example in the help"
echo "formats go there and back"
