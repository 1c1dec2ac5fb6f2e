#!/usr/bin/env bash
# Every example of a help text runs, as it stands there.
. "$(dirname "$0")/common.sh"

gray() { # ROWS COLS: a picture with a bright square
    printf 'P5\n%d %d\n255\n' "$2" "$1"
    for ((i = 0; i < $1; ++i)); do
        for ((j = 0; j < $2; ++j)); do
            if ((i > 20 && i < 60 && j > 30 && j < 80)); then printf z; else printf '%b' "\\x$((2 + (i * j) % 7))0"; fi
        done
    done
}
gray 100 130 >in.pgm
for name in a b picture scan; do cp in.pgm $name.pgm; done
cp in.pgm frame1.pgm
cp in.pgm frame2.pgm
"$program" convert in.pgm picture.ppm --quiet
cp picture.ppm retina.ppm
head -c 131072 /dev/zero | tr '\0' '\7' >scan.dat
head -c $((352 * 288 * 3 / 2 * 50)) /dev/zero | tr '\0' '\200' >heart.yuv
"$program" movie build edges.tq $(for k in {0..21}; do echo in.pgm; done)
for ((k = 0; k < 8; ++k)); do head -c 45 /dev/zero; printf z; head -c 44 /dev/zero; done >head.data
printf 'V2\nfile=head.data\nnbf=8\nrow=9\ncol=10\nsize=1\n' >head.txt

names() { "$program" "$@" --help | sed -n 's/^  \([a-z][a-z-]*\)  .*/\1/p'; }
count=0
for name in $(names); do
    members=$("$program" "$name" --help | grep -q '^Example' || names "$name")
    for member in ${members:-''}; do
        example=$("$program" $name $member --help | sed -n 's/^Example: vorlane/"$program"/p')
        [ -n "$example" ] || fail "no example in the help of $name $member"
        case $example in
        *heart.avi*) cp edges.tq heart.tq; "$program" movie convert edges.tq heart.avi --force ;;
        esac
        eval "$example" >out.txt 2>err.txt || grep -q "by this build, which lacks" err.txt || fail "$example: $(cat err.txt)"
        count=$((count + 1))
    done
done
[ "$count" -ge 40 ] || fail "only $count examples were found"
echo "$count examples run"
