#!/usr/bin/env bash
# Runs every carvex-sim command line of the READMEs' shell blocks (```sh), in
# order, one README at a time on a fresh scratch tree, and fails when one
# exits non-zero. A line that only illustrates (interactive, or a file that
# does not exist) carries the comment "# illustration" and is skipped, and
# said so. Lines ending in a backslash continue on the next line.
# Usage: readme-commands.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
top=$1
export CARVEX_BUILD_DIR=$2
export PATH="$2/Simulator/carvex-sim:$PATH"
. "$(dirname "$0")/scratch-tree.sh"

readmes() {
  if git -C "$top" rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    git -C "$top" ls-files --cached --others --exclude-standard '*.md'
  else
    (cd "$top" && find . -name '*.md' -not -path './build*' -not -path './.state*' | sed 's|^\./||')
  fi
}

# Prints the command lines of one README's shell blocks, continuations joined.
commands_of() {
  awk '/^```sh/ { inside = 1; next }
       /^```/ { inside = 0; next }
       inside {
         line = $0
         while (line ~ /\\$/ && (getline next_line) > 0) {
           sub(/\\$/, "", line); line = line " " next_line
         }
         if (line ~ /^(scripts\/)?carvex-sim( |$)/) print line
       }' "$1"
}

ran=0 skipped=0 failed=0
while IFS= read -r readme; do
  mapfile -t lines < <(commands_of "$top/$readme")
  [ ${#lines[@]} -gt 0 ] || continue
  scratch=$(make_scratch "$top")
  for line in "${lines[@]}"; do
    if [[ $line == *"# illustration"* ]]; then
      echo "$readme: skipped (illustration): $line"
      skipped=$((skipped + 1))
      continue
    fi
    status=0
    output=$(cd "$scratch" && bash -c "$line" </dev/null 2>&1) || status=$?
    ran=$((ran + 1))
    if [ "$status" -ne 0 ]; then
      echo "$readme: FAILED (exit $status): $line"
      echo "$output" | tail -n 40 | sed 's/^/    /'
      failed=$((failed + 1))
    else
      echo "$readme: ok: $line"
    fi
  done
  rm -rf "$scratch"
done < <(readmes)
echo "README commands: $ran run, $skipped illustrations, $failed failed"
[ "$ran" -gt 0 ] && [ "$failed" -eq 0 ]
