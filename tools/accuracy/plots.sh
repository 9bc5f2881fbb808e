#!/usr/bin/env bash
# Makes docs/functions.md, the page of the functions that are written, and the plots of their errors in
# docs/images/errors/. What a function computes is taken from the public header; bounds and largest errors from
# docs/accuracy.md, or from a survey of its own for rows that the page lacks; the plots from the meter.
# usage: plots.sh METER
set -euo pipefail
export LC_ALL=C.UTF-8
meter=$(realpath -- "$1")
cd -- "$(dirname -- "$0")/../.."
page=docs/functions.md images=docs/images/errors
work=$(mktemp -d) && trap 'rm -rf "$work"' EXIT

# ---- What there is --------------------------------------------------------------------------------------------------

# Lines of section, operation, types: from the list of operations, in its order. Gather and scatter compute nothing.
operations() {
    awk -F '[(,] *' '
        /^\/\/ / { section = substr($0, 4) }
        /^OP\(/ && $3 != "P" { print section "\t" $2 "\t" tolower($4) }' frame/operations.def
}

# Lines of operation, types, function with its arguments, first sentence on it. A sentence of the header starts in
# column 31 and may go on there in the next lines, which have no types.
descriptions() {
    awk '
        function finish() {
            if (name == "") return
            sub(/([.;] .*|\.$)/, "", text)
            print name "\t" types "\t" call "\t" text
            name = ""
        }
        /^ \* [A-Z][A-Za-z0-9]*\([ab, ]+\) +[sdcz]/ {
            finish()
            call = substr($0, 4, index($0, ")") - 3)
            name = substr(call, 1, index(call, "(") - 1)
            types = substr($0, 22, 7); gsub(/ /, "", types)
            text = substr($0, 31)
            next
        }
        name != "" && substr($0, 3) ~ /^ +[^ ]/ && match(substr($0, 3), /[^ ]/) == 29 && text !~ /[.;]( |$)/ {
            text = text " " substr($0, 31)
            next
        }
        { finish() }' include/nvo_ark/vector_math.h
}

# measure OPERATION TYPES: leaves $work/<row>.dat for each row that is written, and prints their types. The meter knows
# no other rows, which is a mistake in its usage: status 2.
measure() {
    local operation=$1 types=$2 type status written='' i
    for ((i = 0; i < ${#types}; ++i)); do
        type=${types:i:1} status=0
        "$meter" --plot "$type$operation" >"$work/$type$operation.dat" 2>"$work/message" || status=$?
        case $status in
        0) written+=$type ;;
        2) rm "$work/$type$operation.dat" ;;
        *)
            cat "$work/message" >&2
            echo "plots.sh: the meter ended with status $status at $type$operation" >&2
            exit 1
            ;;
        esac
    done
    echo "$written"
}

# Prints the bound and the largest error of a row, each over all arguments. A row stands twice in the page if it was
# measured at all floats once and at samples another time, and once more for each part that has a bound of its own.
figures() {
    cat "$work/accuracy.md" docs/accuracy.md 2>/dev/null |
        awk -F ' *[|] *' -v row="$1" '
            { split($2, name, " ") }
            name[1] == row { found = 1; if ($3 > bound) bound = $3; if ($4 == "wrong" || $4 + 0 > largest) largest = $4 }
            END { if (found) print bound + 0, largest + 0 == 0 && largest != "wrong" ? 0 : largest }'
}

# ---- Plots ----------------------------------------------------------------------------------------------------------

# Turns a row's lines of argument and error into lines of place and error, and prints settings for its panel. The axis
# is logarithmic to both sides of zero. It ends two binades behind the last errors above 0.5, or above the floor of the
# plot if there are none, at both ends.
panel() {
    local row=$1 bound=$2
    awk -v row="$row" -v bound="$bound" -v out="$work/$row.places" '
        function log2(x) { return log(x) / log(2) }
        function most(a, b) { return a > b ? a : b }
        function least(a, b) { return a < b ? a : b }
        function floor(x) { return x == int(x) || x > 0 ? int(x) : int(x) - 1 }
        function tics(    decade, step, steps, first, last, text, at, label, i) {
            first = floor(lo / log2(10)) + 1
            last = floor(hi / log2(10))
            split("1 2 5 10 20 50 100 200", steps, " ")
            for (i = 1; (last - first) / steps[i] > (sides == 2 ? 5 : 8); ++i) {}
            step = steps[i]
            for (decade = first; decade <= last; ++decade) {
                if (decade % step) continue
                at = decade * log2(10) - lo + gap
                if (sides == 2 && at < 5 * gap) continue # no room between the two of them
                label = decade >= -2 && decade <= 3 ? sprintf("%g", 10 ^ decade) : "10^{" decade "}"
                if (positive) text = text ", \"" label "\" " at
                if (negative) text = text ", \"-" label "\" " (-at)
            }
            return substr(text, 3)
        }
        BEGIN { huge = 1e300; floor_of_plot = 0.4 }
        $1 + 0 != 0 { # not at zero
            n++
            sign[n] = $1 < 0 ? -1 : 1
            binade[n] = log2($1 * sign[n])
            error[n] = $2 ~ /^[0-9]/ ? $2 : huge # infinite where the result is wrong
            bottom = n == 1 ? binade[n] : least(bottom, binade[n])
            top = n == 1 ? binade[n] : most(top, binade[n])
            peak = most(peak, error[n])
        }
        END {
            lo = top
            hi = bottom
            for (i = 1; i <= n; ++i) {
                if (error[i] <= (peak > 0.5 ? 0.5 : floor_of_plot)) continue
                lo = least(lo, binade[i])
                hi = most(hi, binade[i])
            }
            lo = lo > hi ? bottom : most(bottom, floor(lo) - 2)
            hi = hi < lo ? top : least(top, floor(hi) + 3)
            gap = (hi - lo) / 60
            for (i = 1; i <= n; ++i) {
                if (binade[i] < lo || binade[i] > hi) continue
                if (sign[i] < 0) negative = 1; else positive = 1
                if (error[i] == huge) continue
                print sign[i] * (binade[i] - lo + gap), error[i] >out
                largest = most(largest, error[i])
            }
            sides = negative + positive
            span = 1.2 * (most(bound, largest) - floor_of_plot)
            printf "set title \"%s, error in ulp\"\n", row
            printf "set xrange [%g:%g]\n", negative ? -(hi - lo + 2 * gap) : 0, positive ? hi - lo + 2 * gap : 0
            printf "set xtics (%s)\n", tics()
            printf "set yrange [%g:%g]\n", floor_of_plot, floor_of_plot + span
            printf "set ytics %g\n", span < 0.25 ? 0.05 : span < 0.6 ? 0.1 : span < 1.2 ? 0.2 : span < 3 ? 0.5 : span / 4
            printf "bound = %g\n", bound
        }' "$work/$row.dat"
    echo "plot 0.5 with lines linecolor '#bbbbbb' linewidth 1 notitle, \
        '$work/$row.places' with points pointtype 7 pointsize 0.22 linecolor '#2b6ca3' notitle, \
        bound with lines linecolor '#b2182b' linewidth 1.3 notitle"
}

# draw OPERATION ROW...: one picture, the rows side by side.
draw() {
    local operation=$1 row
    shift
    {
        echo "set terminal pngcairo size $((500 * $#)),200 font 'DejaVu Sans,9' background '#ffffff'
            set output '$images/$operation.png'
            set border 3 linecolor '#888888'
            set tics nomirror scale 0.5 textcolor '#333333'
            set title offset 0,-0.7 textcolor '#222222'
            unset key
            set multiplot layout 1,$# margins 40.0/$((500 * $#)),0.985,0.13,0.89 spacing 0.06"
        for row in "$@"; do panel "$row" "$(figures "$row" | cut -d ' ' -f 1)"; done
        echo "unset multiplot"
    } >"$work/plot"
    gnuplot --default-settings "$work/plot"
    pngquant --force --speed 1 --output "$images/$operation.png" 16 "$images/$operation.png"
}

# ---- The page -------------------------------------------------------------------------------------------------------

head_text() {
    cat <<'TEXT'
<!-- Made by ./run plots; do not edit. -->

# Functions

The functions of vector math that are written, in the order of
[`vector_math.h`](../include/nvo_ark/vector_math.h), which has every function with all its special cases. Types are `s`
float, `d` double, `c` and `z` complex of these. Each function has a form without strides and one with.

Bound is the largest error that the library promises, in ulp; 0.5 is the nearest number. Largest is the largest
error that was measured, rounded up; [`accuracy.md`](accuracy.md) tells how, at which argument, and what other libraries
do at the same ones. Functions with a bound of 0.5 or less have no plot.

In the plots a dot is the largest error that a sample of arguments has in a sixteenth (`s`) or a quarter (`d`) of a
binade. For functions of two arguments it is plotted against the first one; the second one is any. The red line is the
bound, the grey one 0.5; errors below 0.4 aren't shown. The axis of the arguments is logarithmic to both sides of zero.
What it leaves out near zero and at its ends has no error above 0.5.
TEXT
}

# A function's line in the table, and its picture if it has rows whose bound is above 0.5.
line() {
    local operation=$1 types=$2 call text type bound largest cells='' rows=()
    IFS=$'\t' read -r call text < <(awk -F '\t' -v operation="$operation" -v type="${types:0:1}" '
        $1 == operation && index($2, type) { gsub(/[|]/, "\\\\|", $4); print $3 "\t" $4 }' "$work/descriptions") || {
        echo "plots.sh: vector_math.h doesn't describe $operation" >&2
        exit 1
    }
    for type in s d; do
        read -r bound largest < <(figures "$type$operation") || { bound=- largest=-; }
        if [ -s "$work/$type$operation.dat" ] && awk "BEGIN { exit !($bound > 0.5) }"; then rows+=("$type$operation"); fi
        [ "$bound" != 0 ] || bound=exact
        cells+=" $bound | $largest |"
    done
    echo "| \`$call\` | $(fold -w 1 <<<"$types" | paste -sd ' ') | $text |$cells"
    [ ${#rows[@]} -eq 0 ] || draw "$operation" "${rows[@]}"
}

# The functions of $work/rows: lines of operation and types that are written.
section() {
    local operation types
    printf '\n## %s\n\n' "$1"
    echo '| function | types | computes | s: bound | largest | d: bound | largest |'
    echo '|---|---|---|---|---|---|---|'
    while IFS=$'\t' read -r operation types; do line "$operation" "$types"; done <"$work/rows"
    while IFS=$'\t' read -r operation _; do
        [ ! -f "$images/$operation.png" ] || printf '\n![Errors of %s](images/errors/%s.png)\n' "$operation" "$operation"
    done <"$work/rows"
}

descriptions >"$work/descriptions"
operations >"$work/operations"
: >"$work/written"
while IFS=$'\t' read -r title operation types; do
    written=$(measure "$operation" "$types")
    [ -z "$written" ] || printf '%s\t%s\t%s\n' "$title" "$operation" "$written" >>"$work/written"
done <"$work/operations"

# Rows that docs/accuracy.md lacks.
missing=()
while IFS=$'\t' read -r _ operation types; do
    for ((i = 0; i < ${#types}; ++i)); do
        row=${types:i:1}$operation
        [ -n "$(figures "$row")" ] || missing+=("$row")
    done
done <"$work/written"
if [ ${#missing[@]} -gt 0 ]; then
    echo "Measuring what docs/accuracy.md lacks: ${missing[*]}" >&2
    "$meter" --markdown "$work/accuracy.md" "${missing[@]}" >"$work/survey" || grep FAIL "$work/survey" >&2
fi

mkdir -p "$images" && rm -f "$images"/*.png
head_text >"$work/page"
cut -f 1 "$work/written" | uniq >"$work/sections"
while IFS= read -r title; do
    awk -F '\t' -v title="$title" '$1 == title { print $2 "\t" $3 }' "$work/written" >"$work/rows"
    section "$title" >>"$work/page"
done <"$work/sections"
mv "$work/page" "$page"
echo "$page: $(wc -l <"$work/written") functions, $(find "$images" -name '*.png' | wc -l) plots"
