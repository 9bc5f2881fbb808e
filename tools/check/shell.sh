#!/usr/bin/env bash
# The shell scripts parse, and shellcheck has nothing to say.
set -euo pipefail
cd -- "$(dirname -- "$0")/../.."
scripts=(run .ci/run tools/*/*.sh)
for script in "${scripts[@]}"; do bash -n "$script"; done
shellcheck "${scripts[@]}"
