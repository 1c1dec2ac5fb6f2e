#!/usr/bin/env bash
# Filters, arithmetic, geometry and drawing by the program.
. "$(dirname "$0")/common.sh"

# same NAME BYTES: the file's last bytes, after its header, are these.
same() {
    actual=$(tail -c "$(printf "$2" | wc -c)" "$1" | od -An -tu1)
    expected=$(printf "$2" | od -An -tu1)
    [ "$actual" = "$expected" ] || fail "$1: $actual instead of $expected"
}

printf 'P5\n3 2\n255\n\012\024\036\050\062\074' >a.pgm
printf 'P5\n3 2\n255\n\001\000\002\000\003\000' >b.pgm
printf 'P6\n1 1\n255\n\001\002\003' >c.ppm

"$program" math add a.pgm b.pgm out.pgm && same out.pgm '\013\024\040\050\065\074'
"$program" math and a.pgm b.pgm out.pgm && same out.pgm '\012\000\036\000\062\000'
"$program" math invert a.pgm out.pgm && same out.pgm '\074\062\050\036\024\012'
"$program" math superpose c.ppm a.pgm out.ppm && same out.ppm '\377\000\000'
"$program" filter threshold a.pgm out.pgm --level 30 && same out.pgm '\000\000\000\377\377\377'
"$program" filter median a.pgm out.pgm --size 1 && same out.pgm '\012\024\036\050\062\074'
"$program" filter median c.ppm out.ppm --size 11 && same out.ppm '\001\002\003'
"$program" filter chamfer b.pgm out.pgm && same out.pgm '\000\001\000\001\000\001'
"$program" geometry crop a.pgm out.pgm --rectangle 0 1 2 2 && same out.pgm '\024\036\062\074'
"$program" geometry translate a.pgm out.pgm --shift 1 -1 && same out.pgm '\000\000\000\024\036\000'
"$program" geometry enlarge c.ppm out.ppm --factor 2 && same out.ppm '\001\002\003\001\002\003'
"$program" draw line a.pgm out.pgm --from 0 0 --to 0 9 --value 7 &&
    same out.pgm '\007\007\007\050\062\074'

rm -f out.pgm
expect 1 "The two images should have the same size" "$program" math add a.pgm c.ppm out.pgm
expect 2 "must lie in the picture" "$program" geometry crop a.pgm out.pgm --rectangle 0 0 9 9
expect 1 "colour" "$program" filter noise c.ppm out.pgm
expect 1 "missing.pgm: " "$program" filter sobel missing.pgm out.pgm
expect 2 "--size" "$program" filter median a.pgm out.pgm --size 0
[ ! -e out.pgm ] || fail "a failure left a file"
