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
expect 1 "missing.pgm: can't be opened" "$program" edges missing.pgm new.pgm
expect 1 "no/folder/out.pgm: can't be written: No such file or directory" "$program" edges in.pgm no/folder/out.pgm
expect 2 "names no format" "$program" edges in.pgm new.xyz
expect 1 "not a colour image" "$program" luv in.pgm new.ppm
expect 2 "--sigma must be from 0.3 to 1000; got 0" "$program" edges in.pgm new.pgm --sigma 0
expect 2 "" "$program" edges in.pgm
expect 2 "unknown command 'edgse', did you mean 'edges'?" "$program" edgse
expect 2 "unknown option '--hihg', did you mean '--high'?" "$program" edges in.pgm new.pgm --hihg 1
[ -z "$(ls | grep -E '^new|\.pgm\.')" ] || fail "left behind: $(ls)"
echo "the program does as told"
"$program" --quiet derivative in.pgm quiet.pgm 2>err.txt && [ ! -s err.txt ] || fail "not quiet: $(cat err.txt)"
