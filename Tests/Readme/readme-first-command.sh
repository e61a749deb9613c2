#!/usr/bin/env bash
# Runs the README's first command verbatim, as a new user would on a fresh
# clone, and checks what it must show: exit status 0, the setup form set
# "Intel Optane DCPMMs" installed, and 0 driver errors.
# Usage: readme-first-command.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
top=$1
export CARVEX_BUILD_DIR=$2
. "$(dirname "$0")/scratch-tree.sh"

# The first carvex-sim line of the README's first shell block.
command=$(awk '/^```sh/ { inside = 1; next }
               /^```/ { if (inside) exit; next }
               inside && /^scripts\/carvex-sim/ { print; exit }' "$top/README.md")
if [ -z "$command" ]; then
  echo "README.md: no scripts/carvex-sim line in the first shell block"
  exit 1
fi

scratch=$(make_scratch "$top")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
echo "\$ $command"
status=0
output=$(bash -c "$command" 2>/dev/null) || status=$?
echo "$output"
failed=0
if [ "$status" -ne 0 ]; then echo "FAIL: exit status $status"; failed=1; fi
if ! grep -q '^  "Intel Optane DCPMMs"' <<<"$output"; then
  echo 'FAIL: the form set "Intel Optane DCPMMs" is not listed as installed'; failed=1
fi
if ! grep -qx '0 driver errors' <<<"$output"; then echo 'FAIL: no "0 driver errors" line'; failed=1; fi
exit $failed
