#!/usr/bin/env bash
# The program from outside: results, exit statuses, and nothing left behind by a failure.
. "$(dirname "$0")/common.sh"

{ printf 'P5\n64 48\n255\n'; for ((i = 0; i < 48; ++i)); do printf '0%.0s' {1..32}; printf 'z%.0s' {1..32}; done; } >in.pgm

"$program" info in.pgm | grep -q '48 rows x 64 columns, gray' || fail info
"$program" edges in.pgm out.pgm --sigma 1 --stages stages
[ "$(head -c 12 out.pgm | tr '\n' ' ')" = "P5 64 48 255" ] || fail "header of the edge map"
for stage in magnitude.pgm direction.ppm thin.pgm; do
    [ -s "stages/$stage" ] || fail "no $stage"
done
"$program" smooth in.pgm smooth.ppm --sigma 3
"$program" derivative in.pgm slope.pgm --axis y
"$program" convert in.pgm colour.ppm
"$program" convert colour.ppm gray.pgm --gray --normalize 0 255
"$program" luv colour.ppm luv.ppm
"$program" edges --help | grep -q Example || fail "no example in the help"

rm -f new.pgm
expect 1 "missing.pgm: CImage: Can't open file" "$program" edges missing.pgm new.pgm
expect 1 "no/folder/out.pgm: No such file or directory" "$program" edges in.pgm no/folder/out.pgm
expect 1 "the ending must be one of" "$program" edges in.pgm new.xyz
expect 1 "not a colour image" "$program" luv in.pgm new.ppm
expect 2 "is not a positive number" "$program" edges in.pgm new.pgm --sigma 0
expect 2 "" "$program" edges in.pgm
expect 2 "" "$program" nonsense
[ -z "$(ls | grep -E '^new|\.pgm\.')" ] || fail "left behind: $(ls)"
echo "the program does as told"
