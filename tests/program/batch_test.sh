#!/usr/bin/env bash
# Many pictures, chains and comparisons.
. "$(dirname "$0")/common.sh"

mkdir in
for ((n = 0; n < 12; ++n)); do
    { printf 'P5\n40 30\n255\n'; for ((i = 0; i < 1200; ++i)); do printf "\\x$(printf %x $(((i * (n + 3) + i / 40 * 7) % 256)))"; done; } >in/p$n.pgm
done
chain='smooth --sigma 1.5 | edges --low 0.1 --high 0.3 | math invert'

# The same bytes from single runs, from the steps by themselves, and from 1, 2 and 8 jobs.
mkdir single
for picture in in/*.pgm; do "$program" run "$chain" $picture single/$(basename $picture); done
"$program" smooth in/p3.pgm step1.tq --sigma 1.5
"$program" edges step1.tq step2.tq --low 0.1 --high 0.3
"$program" math invert step2.tq step3.pgm --depth 8
cmp step3.pgm single/p3.pgm || fail "the chain differs from its steps"
for jobs in 1 2 8; do
    "$program" run "$chain" in --to out$jobs --jobs $jobs
    diff -r single out$jobs || fail "$jobs jobs differ"
done
printf '# lines\nsmooth --sigma 1.5 |\nedges --low 0.1 --high 0.3\n\nmath invert # white paper\n' >recipe
"$program" run @recipe 'in/p*.pgm' --to 'many/%n-x.pgm' --keep-steps steps
cmp many/p7-x.pgm single/p7.pgm || fail "the chain of a file"
[ "$(ls many | wc -l)" = 12 ] && [ "$(ls steps | wc -l)" = 36 ] || fail "names by a pattern"
"$program" run "$chain" - - --as pgm <in/p3.pgm | cmp - single/p3.pgm || fail "standard input and output"
"$program" math add in/p1.pgm in/p2.pgm in/p3.pgm --to sums --range clamp --depth 8 --quiet
"$program" math add in/p2.pgm in/p3.pgm sum.pgm --range clamp --depth 8 --quiet
cmp sum.pgm sums/p2.pgm || fail "a second picture for many"

# Names with letters beyond ASCII and spaces, of folders, files and patterns.
mkdir 'Bilder für Müller' && cp in/p1.pgm 'Bilder für Müller/größer 1.pgm'
"$program" run "$chain" 'Bilder für Müller' --to 'neue Öfen'
"$program" run "$chain" 'Bilder f*/gr*er [0-9].pg?' --to 'Wände/%n ä.pgm'
cmp 'neue Öfen/größer 1.pgm' single/p1.pgm && cmp 'Wände/größer 1 ä.pgm' single/p1.pgm || fail "names with umlauts"
expect 1 "no file has such a name" "$program" smooth 'Bilder f*/[2-9].pgm' --to new

# Bad files are named at the end; what is done and newer is left out.
printf 'no picture' >in/bad.pgm
status=0
"$program" smooth in --to mixed --jobs 2 2>err.txt || status=$?
[ "$status" = 1 ] && grep -q '1 of 13 pictures failed' err.txt && [ "$(ls mixed | wc -l)" = 12 ] || fail "mixed files: $(cat err.txt)"
rm in/bad.pgm mixed/p5.pgm
touch -d '1 hour ago' in/p*.pgm
touch -d '2 hours ago' mixed/p6.pgm
touch -d '1 minute ago' mixed/p7.pgm
cp -p mixed/p7.pgm before
"$program" smooth in --to mixed --resume
[ before -nt mixed/p7.pgm ] || [ mixed/p7.pgm -nt before ] && fail "p7 was made again"
[ -s mixed/p5.pgm ] && [ mixed/p6.pgm -nt mixed/p7.pgm ] || fail "what was missing or old isn't made"

# A killed run leaves whole files, and --resume the rest.
for ((n = 12; n < 300; ++n)); do cp in/p$((n % 12)).pgm in/p$n.pgm; done
"$program" run "$chain" in --to killed --jobs 2 &
sleep 0.2
kill -INT $! 2>/dev/null || true
wait $! || true
for picture in killed/*; do
    case $picture in *.pgm) [ "$(stat -c %s "$picture")" = 1213 ] || fail "$picture isn't whole" ;; killed/\*) ;; *) fail "$picture stays behind" ;; esac
done
"$program" run "$chain" in --to killed --jobs 2 --resume
[ "$(ls killed | wc -l)" = 300 ] || fail "--resume left something out"
cmp killed/p3.pgm single/p3.pgm

# What is refused before a file is read.
expect 2 "unknown step 'edgse', did you mean 'edges'?" "$program" run 'smooth | edgse' missing.pgm new.pgm
grep -q '^           ^~~~~$' err.txt || fail "no mark: $(cat err.txt)"
expect 2 "unknown option '--sgima', did you mean '--sigma'?" "$program" run 'smooth --sgima 2' missing.pgm new.pgm
expect 2 "--sigma must be above 0 and at most 1000; got 0" "$program" run 'smooth --sigma 0' missing.pgm new.pgm
expect 2 "there is no step behind this bar" "$program" run 'smooth |' missing.pgm new.pgm
expect 2 "did you mean 'filter median'" "$program" run 'median' missing.pgm new.pgm
mkdir other && cp in/p1.pgm other
expect 2 "would both be written" "$program" smooth in/p1.pgm other/p1.pgm --to new
expect 2 "is an input" "$program" smooth in/p1.pgm in/p1.pgm
expect 2 "is an input" "$program" math add in/p1.pgm other/p1.pgm other/p1.pgm
expect 2 "is an input" "$program" smooth in --to in
expect 2 "several pictures need --to" "$program" smooth in new.pgm
expect 2 "several pictures need --into" "$program" draw line in new.pgm
expect 2 "must be a number" "$program" filter threshold in/p1.pgm new.pgm --level nan
expect 2 "takes 4 values: ROW COL ROWS COLS; got 3" "$program" geometry crop in/p1.pgm new.pgm --rectangle 1 2 3
expect 2 "must lie in the picture" "$program" geometry crop in/p1.pgm new.pgm --rectangle 0 0 31 1
expect 1 "can't be opened" "$program" run "$chain" missing.pgm new.pgm
"$program" ridges in --from 1 --to 2 --to ridges --scales 2 --quiet || fail "ridges of a folder"
[ -s ridges/p1.pgm ] || fail "--to names the largest scale or, unless it is a number, the folder"
cp in/p1.pgm same.pgm && "$program" smooth same.pgm same.pgm --force --quiet
if [ -e /dev/full ]; then
    status=0
    "$program" info in/p1.pgm >/dev/full 2>err.txt || status=$?
    [ "$status" = 1 ] || fail "a full standard output gives $status"
fi

# Comparisons: 0 equal, 1 different, 2 not comparable.
"$program" compare in/p1.pgm other/p1.pgm >out.txt || fail "comparison: $(cat out.txt)"
"$program" draw cross in/p1.pgm cross.pgm --at 7 9 --length 0 --value 0
value=$("$program" geometry crop in/p1.pgm - --as pgm --rectangle 7 9 1 1 | tail -c 1 | od -An -tu1 | tr -d ' ')
status=0
"$program" compare in/p1.pgm cross.pgm --out difference.pgm >out.txt || status=$?
[ "$status" = 1 ] || fail "different pictures give $status"
grep -q "largest difference $value at row 7, column 9" out.txt || fail "comparison: $(cat out.txt)"
"$program" compare in/p1.pgm cross.pgm --tolerance "$value" --json >out.txt || fail "comparison: $(cat out.txt)"
expect 2 "recipe" "$program" compare in/p1.pgm recipe
"$program" geometry reduce in/p1.pgm small.pgm
expect 2 "can't be compared" "$program" compare in/p1.pgm small.pgm
"$program" info in/p1.pgm in/p2.pgm --json | grep -c '"standard_deviation": [0-9]' | grep -qx 2 || fail "JSON of two pictures"

"$program" filter noise in/p1.pgm n1.tq --seed 7 && "$program" filter noise in/p1.pgm n2.tq --seed 7
cmp n1.tq n2.tq || fail "the same seed gives other noise"
"$program" completion bash >completion && bash -n completion || fail "completion of bash"
[ -z "$(find . -name 'new*')" ] || fail "left behind: $(find . -name 'new*')"
echo "batches, chains and comparisons do as told"
