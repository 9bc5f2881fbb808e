#!/usr/bin/env bash
# Runs the tour, then lets it fail in every way that a user may meet: each must end with a sentence and a status.
# usage: check_tour.sh TOUR DATA_DIR
set -u
tour=$1 data=$2
work=$(mktemp -d) && trap 'rm -rf "$work"' EXIT
failures=0

# check NAME STATUS TEXT COMMAND...: the command must end with the status and have written the text.
check() {
    local name=$1 status=$2 text=$3
    shift 3
    "$@" >"$work/stdout" 2>"$work/stderr" </dev/null
    local got=$?
    if [[ $got != "$status" ]] || ! grep -qF -- "$text" "$work/stdout" "$work/stderr"; then
        echo "FAILED: $name: status $got instead of $status, or no '$text' in:"
        cat "$work/stdout" "$work/stderr"
        failures=$((failures + 1))
    fi
}

# says NAME TEXT: the whole run must have written the text.
says() {
    grep -qF -- "$2" "$work/tour" || { echo "FAILED: $1: no '$2' in the whole run" && failures=$((failures + 1)); }
}

# with_csv FILTER [FILE]: a folder of the data sets, of which the sed filter has spoilt one.
with_csv() {
    local file=${2:-airquality.csv}
    mkdir -p "$work/data" && cp "$data"/*.csv "$work/data" && sed "$1" "$data/$file" >"$work/data/$file" && echo "$work/data"
}

check "whole run in another locale and mode" 0 "ARK_HA, ARK_ERRMODE_NOERR      0x1A02" \
    env LC_ALL=C NVO_ARK_MODE=ARK_LA,ARK_ERRMODE_STDERR "$tour" --data "$data" --out "$work/new/folder"
[[ -s $work/stderr ]] && echo "FAILED: standard error isn't empty" && failures=$((failures + 1))
check "whole run" 0 "A tour of nvo_ark" "$tour" --data "$data" --out "$work"
mv "$work/stdout" "$work/tour"
says "correlation by independent means" "temperature         0.698    0.743"
says "bad element mended" "DEFAULT        sets 0, returns 0   2.79   0.00   0.00   1 domain   33 EDOM   invalid"
says "exponential fit" "grows by 2.36 % a year and doubles in 29.7 years"
says "what the fit leaves over" "1994 to 1997      361.6   362.9         -1.3                 -6.0"
says "forecast" "2020       426.7              414          12.7"
says "season" "0.0   0.7   1.4   2.6   3.0   2.4   0.8   -1.2   -3.0   -3.2   -2.0   -0.9"
check "status of the logarithm" 0 "One of 280 would give -∞ and status 2 singularity" \
    env NVO_ARK_MODE=ARK_ERRMODE_NOERR "$tour" --data "$data" --out "$work"
says "a stream in a second process" "0.0703360545448959   0.0703360545448959         yes"
says "errors of estimates" "262144   0.003207   0.002864   0.000100   0.000232   0.000294   0.000000"
says "moments and quartiles" "iris     Sepal.Length     5.84        0.83       0.31      -0.61         5.1     5.8     6.4"
says "moments in two portions" "are those from one call, up to rounding"
says "correlation within a species" "Sepal.Width            0.74          1.00           0.18          0.23"
says "streamed quantiles" "2      1.388   1.388      4.605    4.605      9.186    9.219     430     12500           yes"
says "splines" "Akima     mean of both sides, the smoother one counts more    0.52      1.89        1.32       -1.93"
says "levels as integrals" "1971   326.15   0.63      1984   344.25   1.64      1997   363.82   1.14"
if command -v gnuplot >/dev/null; then
    check "picture" 0 "PNG" head -c 4 "$work/new/folder/airquality.png"
    check "second picture" 0 "PNG" head -c 4 "$work/new/folder/co2.png"
    check "third picture" 0 "PNG" head -c 4 "$work/new/folder/monte_carlo.png"
    check "fourth picture" 0 "PNG" head -c 4 "$work/new/folder/summaries.png"
    check "fifth picture" 0 "PNG" head -c 4 "$work/new/folder/splines.png"
fi
check "no gnuplot" 0 "there is no gnuplot here" env PATH=/nonexistent "$tour" --data "$data" --out "$work"

check "no library" 1 "tour: the library can't be loaded: /nonexistent.so" "$tour" --library /nonexistent.so
check "another library" 1 "tour: the library has no symbol named dll_cpu_version" "$tour" --library libdl.so.2
check "no data folder" 1 "/nonexistent is no folder of data sets" "$tour" --data /nonexistent --out "$work"
check "no data file" 1 "/airquality.csv: No such file" "$tour" --data "$work/new" --out "$work"
check "malformed number" 1 'airquality.csv:4: Wind is no number: "12.6x"' \
    "$tour" --data "$(with_csv 4s/12.6/12.6x/)" --out "$work"
check "not finite" 1 'airquality.csv:4: Temp is no number: "inf"' \
    "$tour" --data "$(with_csv 4s/74/inf/)" --out "$work"
check "field too few" 1 "airquality.csv:154: the number of fields" "$tour" --data "$(with_csv 154s/,.*//)" --out "$work"
check "row too few" 1 "152 rows, where 153 are expected" "$tour" --data "$(with_csv 9d)" --out "$work"
check "no such column" 1 "no column named Wind" "$tour" --data "$(with_csv 1s/Wind/Gale/)" --out "$work"
check "no month" 1 "outside May to September" "$tour" --data "$(with_csv '4s/,5,3$/,,3/')" --out "$work"
check "no logarithm" 1 "Ln: status 1 domain: a month of the CO2 data" "$tour" --data "$(with_csv 9s/,.*/,279/ co2.csv)" \
    --out "$work"
check "pole of the logarithm" 1 "Ln: status 2 singularity" "$tour" --data "$(with_csv 9s/,.*/,280/ co2.csv)" --out "$work"
check "month without value" 1 "a month is missing in the CO2 data" "$tour" --data "$(with_csv 9s/,.*/,/ co2.csv)" \
    --out "$work"
check "months in disorder" 1 "or isn't in its place" "$tour" --data "$(with_csv '9{h;d};10G' co2.csv)" --out "$work"
check "species in disorder" 1 "the iris data aren't in the order of their species" \
    "$tour" --data "$(with_csv '2{h;d};60G' iris.csv)" --out "$work"
check "word for a number" 1 'iris.csv:9: Petal.Length is no number: "long"' \
    "$tour" --data "$(with_csv 9s/,1.5,/,long,/ iris.csv)" --out "$work"
check "no folder for pictures" 1 "the picture can't be written to /dev/null/folder" \
    "$tour" --data "$data" --out /dev/null/folder
head -c 300 "$work/mt19937.stream" >"$work/cut.stream"
check "a stream cut short" 1 "__ostLoadStreamF gave the status -1103" "$tour" --go-on "$work/cut.stream"
check "unknown option" 2 "usage: tour" "$tour" --frobnicate yes
check "option without value" 2 "usage: tour" "$tour" --data
to_full_disk() { "$@" >/dev/full; }
check "full disk" 1 "standard output can't be written" to_full_disk "$tour" --data "$data" --out "$work"

exit $((failures > 0))
