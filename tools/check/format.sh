#!/usr/bin/env bash
# Every source file is as clang-format writes it; the constant tables are as their programs print them.
set -euo pipefail
cd -- "$(dirname -- "$0")/../.."
files() {
    find . \( -path './build*' -o -path ./out -o -path ./.git -o -path ./tables \) -prune -o \
        -type f \( -name '*.h' -o -name '*.cpp' -o -name '*.c' \) -print0
}
if ! messages=$(files | xargs -0 clang-format --dry-run -Werror 2>&1); then
    # The place of each violation; or, if there is none, what went wrong.
    sed -n 's/: error: code should be clang-formatted.*//p' <<<"$messages" | grep . || printf '%s\n' "$messages"
    echo "Mend with: clang-format -i FILE" >&2
    exit 1
fi
