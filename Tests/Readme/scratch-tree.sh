# Sourced by the README tests. make_scratch TOP prints a new directory that
# stands for a fresh clone of TOP: a copy of scripts/ and links to every other
# tracked top-level entry, so the scripts find the tree beside them while
# the state directory (.state) starts empty. The build stays in
# CARVEX_BUILD_DIR, which the caller sets to the tree's configured build.
make_scratch() {
  local top=$1 scratch entry
  scratch=$(mktemp -d "${TMPDIR:-/tmp}/carvex-readme.XXXXXX")
  cp -R "$top/scripts" "$scratch/scripts"
  for entry in "$top"/* "$top"/.clang-format "$top"/.ci; do
    [ -e "$entry" ] || continue
    case "$(basename "$entry")" in
      scripts | build | build-* | .state) continue ;;
    esac
    ln -s "$entry" "$scratch/$(basename "$entry")"
  done
  echo "$scratch"
}
