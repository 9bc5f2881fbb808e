#!/usr/bin/env bash
# Words that have no place in the tree: what was put off, tests that are switched off, paths of one machine.
set -euo pipefail
cd -- "$(dirname -- "$0")/../.."
put_off='TODO|FIXME|XXX'
switched_off='DISABLED_|GTEST_SKIP'
machine_paths='(^|[^[:alnum:]_.~/-])/(work|home|root)/'
if find . \( -path './build*' -o -path ./out -o -path ./.git -o -path ./tools/check/words.sh \) -prune -o -type f -print0 |
    xargs -0 grep -InE "\<($put_off)\>|$switched_off|$machine_paths"; then
    echo "These words have no place in the tree." >&2
    exit 1
fi
