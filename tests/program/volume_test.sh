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
(cd / && "$program" volume info "$work/here/smooth.txt") | grep -q '8 slices of 9 rows x 10 columns, 32-bit floats' || fail "smoothed volume"
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
expect 1 "s2.pgm" "$program" volume slice series.txt mean.pgm --projection mean
expect 0 "1 of 3 slices can't be read" "$program" volume slice series.txt mean.pgm --projection mean --allow-missing
cmp mean.pgm slice.pgm || fail "the mean of equal slices"

expect 1 "missing.txt: can't be opened" "$program" volume info missing.txt
expect 1 "not a description" "$program" volume info slice.pgm
expect 1 "there are only 8 slices" "$program" volume slice line.txt new.pgm --index 8
expect 1 "No such file" "$program" volume smooth line.txt no/folder/new.txt
expect 2 "name the description" "$program" volume smooth line.txt new.raw
expect 2 "smooth.raw: is there already" "$program" volume smooth line.txt smooth.txt
"$program" volume smooth line.txt smooth.txt --force
mkdir "a folder"
"$program" volume convert line.txt "a folder/copy.txt"
cmp line.data "a folder/copy.raw" || fail "bytes have changed on their way"
mv "a folder" moved
"$program" volume info moved/copy.txt | grep -q '8 slices of 9 rows x 10 columns, unsigned bytes' || fail "a moved volume"
for structure in line sheet blob; do
    "$program" volume vessels line.txt $structure.txt --structure $structure --from 1 --to 2 --scales 2 --force
done
"$program" volume slice line.txt window.pgm --index 3 --window 122 10
expect 2 "must be above 0" "$program" volume smooth line.txt new.txt --sigma -1
expect 2 "" "$program" volume
"$program" volume slice --help | grep -q Example || fail "no example in the help"
[ -z "$(ls | grep -E '^new|\.[A-Za-z0-9]{6}$')" ] || fail "left behind: $(ls)"

command -v dump2dcm >/dev/null || { echo "volumes do as told; no DCMTK to make others"; exit 0; }
# slice FILE NUMBER Z SERIES VALUE: 2 rows x 3 columns of 12 bits
slice() {
    cat >dump <<END
(0008,0016) UI =CTImageStorage
(0008,0018) UI [1.2.3.$4.$2]
(0008,0060) CS [CT]
(0020,000d) UI [1.2.3]
(0020,000e) UI [1.2.3.$4]
(0020,0013) IS [$2]
(0020,0032) DS [-10\\-20\\$3]
(0020,0037) DS [1\\0\\0\\0\\1\\0]
(0028,0002) US 1
(0028,0004) CS [MONOCHROME2]
(0028,0010) US 2
(0028,0011) US 3
(0028,0030) DS [0.5\\0.75]
(0028,0100) US 16
(0028,0101) US 12
(0028,0102) US 11
(0028,0103) US 0
(0028,1052) DS [-1024]
(0028,1053) DS [$2]
(7fe0,0010) OW $5\\0001\\0002\\0003\\0004\\0fff
END
    dump2dcm -q +te dump "$1"
}
mkdir ct
slice ct/a.dcm 3 7.5 1 0400
slice ct/b.dcm 1 2.5 1 0401
slice ct/c.dcm 2 5 1 0402
if lacks DICOM; then exit 0; fi
echo "a note" >ct/note.txt
"$program" volume info ct >info.txt
grep -q '3 slices of 2 rows x 3 columns, signed 16-bit integers' info.txt || fail "DICOM: $(cat info.txt)"
grep -q '2.5 mm from slice to slice, 0.5 from row to row, 0.75' info.txt || fail "spacing: $(cat info.txt)"
"$program" volume convert ct ct.txt
# From the lowest slice on: 1 x 0x401 - 1024, 2 x 0x402 - 1024, 3 x 0x400 - 1024.
[ "$(od -An -td2 -w12 ct.raw | awk '{print $1}' | xargs)" = "1 1028 2048" ] || fail "values: $(od -An -td2 -w12 ct.raw)"
dcmcjpeg ct/a.dcm packed && mv packed ct/a.dcm
dcmcrle ct/b.dcm packed && mv packed ct/b.dcm
"$program" volume convert ct packed.txt
cmp ct.raw packed.raw || fail "packed slices"
slice ct/d.dcm 4 9 2 0400
expect 1 "choose one with --series" "$program" volume info ct
"$program" volume info ct --series .2 | grep -q '1 slices' || fail "the series"
rm ct/d.dcm
slice ct/e.dcm 4 5 1 0400
expect 1 "several volumes" "$program" volume info ct
head -c 500 ct/c.dcm >ct/e.dcm
expect 1 "ct/e.dcm" "$program" volume info ct
echo "volumes do as told"
