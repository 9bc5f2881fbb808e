#!/usr/bin/env bash
# tidy.sh BUILD-DIRECTORY JOBS: clang-tidy on the sources of the libraries, with the compile commands of the build
# directory. One file a run: given several, clang-tidy 14 takes every va_list behind the first file for uninitialised.
set -euo pipefail
build=$1
jobs=$2
cd -- "$(dirname -- "$0")/../.."
find . \( -path './build*' -o -path ./out -o -path ./.git -o -path ./tests -o -path ./bench -o -path ./tools -o \
    -path ./examples \) -prune -o -type f -name '*.cpp' -print0 |
    xargs -0 -n 1 -P "$jobs" clang-tidy -p "$build" --quiet 2> >(grep -v 'warnings\? generated\.$' >&2)
