#!/usr/bin/env bash
# Volumes with the program: a bright line along the slices, smoothed, measured and shown.
. "$(dirname "$0")/common.sh"

describe() { printf 'V2\nfile=%s\nnbf=%d\nrow=%d\ncol=%d\nsize=1\n' "$1" "$2" "$3" "$4"; }

# 8 slices of 9 rows x 10 columns, all 0 but for a line of z at row 4, column 5.
for ((k = 0; k < 8; ++k)); do
    head -c 45 /dev/zero; printf z; head -c 44 /dev/zero
done >line.data
describe line.data 8 9 10 >line.txt

"$program" volume info line.txt | grep -q '8 slices of 9 rows x 10 columns, unsigned bytes, values 0 to 122' || fail info
"$program" volume smooth line.txt smooth.txt --sigma 1
[ "$(stat -c %s smooth.raw)" = 2880 ] || fail "size of the smoothed data"
(cd / && "$program" volume info "$work/smooth.txt") | grep -q '8 slices of 9 rows x 10 columns, 32-bit floats' || fail "smoothed volume"
for value in smallest middle largest; do
    "$program" volume ridges line.txt "$value.txt" --sigma 1 --value "$value"
done
cmp -s smallest.raw middle.raw && fail "the eigenvalues are alike"
"$program" volume slice line.txt slice.pgm --index 3
[ "$(tail -c 45 slice.pgm | head -c 1)" = z ] || fail "the slice"
"$program" volume slice line.txt front.pgm --axis rows --projection maximum
printf 'P5\n10 8\n255\n' >front.txt
for ((k = 0; k < 8; ++k)); do head -c 5 /dev/zero; printf z; head -c 4 /dev/zero; done >>front.txt
cmp front.pgm front.txt || fail "the projection along the rows"
"$program" volume slice line.txt side.pgm --axis columns --projection mean
[ "$(head -c 8 side.pgm | tr '\n' ' ')" = "P5 9 8 2" ] || fail "size of the projection along the columns"

cp slice.pgm s1.pgm; cp slice.pgm s3.pgm
printf 'V1\ndirectory=.\nprefix=s\nstart slice=1\nend slice=3\nsuffix=.pgm\n' >series.txt
expect 0 "1 of 3 slices can't be read" "$program" volume slice series.txt mean.pgm --projection mean
cmp mean.pgm slice.pgm || fail "the mean of equal slices"

expect 1 "missing.txt: Can't open file" "$program" volume info missing.txt
expect 1 "Not a description" "$program" volume info slice.pgm
expect 1 "there are only 8 slices" "$program" volume slice line.txt new.pgm --index 8
expect 1 "No such file" "$program" volume smooth line.txt no/folder/new.txt
expect 1 "without blanks" "$program" volume smooth line.txt "new one.txt"
expect 1 "name the description" "$program" volume smooth line.txt new.raw
expect 2 "must be above 0" "$program" volume smooth line.txt new.txt --sigma -1
expect 2 "" "$program" volume
"$program" volume slice --help | grep -q Example || fail "no example in the help"
[ -z "$(ls | grep -E '^new|\.[A-Za-z0-9]{6}$')" ] || fail "left behind: $(ls)"
echo "volumes do as told"
