#!/usr/bin/env bash
# Ridges and histograms from outside: results, exit statuses, and nothing left behind by a failure.
. "$(dirname "$0")/common.sh"

# A bright line of three rows in an image of 40 x 30.
{
    printf 'P5\n40 30\n255\n'
    for ((i = 0; i < 30; ++i)); do
        if ((i >= 14 && i <= 16)); then printf 'z%.0s' {1..40}; else printf '0%.0s' {1..40}; fi
    done
} >line.pgm
{ printf 'P5\n40 30\n255\n'; printf '\000%.0s' {1..600}; printf '1%.0s' {1..600}; } >mask.pgm

"$program" ridges line.pgm out.pgm --bright --from 1 --to 2 --scales 3 --stages stages \
    --scale-map scale.ppm --overlay overlay.ppm >progress.txt
[ ! -s progress.txt ] || fail "progress on standard output: $(cat progress.txt)"
for file in out.pgm scale.ppm overlay.ppm stages/strength.pgm stages/direction.ppm stages/scale.ppm; do
    [ -s "$file" ] || fail "no $file"
done
cmp -s out.pgm stages/strength.pgm || fail "the strength differs from its stage"
# The middle of the line is the strongest (255), its surroundings aren't a ridge.
[ "$(tail -c +14 out.pgm | od -An -v -tu1 -w40 | awk '{ print $20 }' | sort -n | tail -1)" -ge 250 ] ||
    fail "no ridge on the line"
[ "$(tail -c +14 out.pgm | od -An -v -tu1 -w40 | awk 'NR == 6 { print $20 }')" = 0 ] ||
    fail "a ridge beside the line"
"$program" ridges line.pgm none.pgm --dark --from 1 --to 1 --scales 1 --mask mask.pgm >/dev/null

[ "$("$program" histogram line.pgm --csv | sed -n '50p;124p' | tr '\n' ' ')" = "48,1080 122,120 " ] ||
    fail "counts"
[ "$("$program" histogram line.pgm --mask mask.pgm --csv | sed -n '50p')" = "48,520" ] ||
    fail "counts under a mask"
"$program" histogram line.pgm --smooth 9 --fit 1:2 --plot plot.svg | grep -q '(taken)' || fail "fit"
grep -q 'fitted sum' plot.svg && grep -q '</svg>' plot.svg || fail "plot"
for command in ridges histogram; do
    "$program" $command --help | grep -q Example || fail "no example in the help of $command"
done

{ printf 'P5\n4 3\n255\n'; printf '1%.0s' {1..12}; } >small.pgm
expect 2 "the mask must have the size of the picture" "$program" ridges line.pgm new.pgm --mask small.pgm
expect 2 "the mask must be gray" "$program" histogram line.pgm --mask scale.ppm
expect 1 "missing.pgm: can't be opened" "$program" histogram missing.pgm --plot new.svg
{ printf 'P5\n4 3\n255\n'; head -c 12 /dev/zero; } >black.pgm
expect 1 "there is nothing to fit" "$program" histogram black.pgm --drop-zero --fit 1 --plot new.svg
expect 2 "names no format" "$program" ridges line.pgm new.xyz
expect 2 "--from must be above 0 and at most 32; got 0" "$program" ridges line.pgm new.pgm --from 0
expect 2 "must be a number of Gaussians" "$program" histogram line.pgm --fit 3:1
[ -z "$(ls | grep -E '^new|\.(pgm|svg)\.')" ] || fail "left behind: $(ls)"
echo "ridges and histograms do as told"
