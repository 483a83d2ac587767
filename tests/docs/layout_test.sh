#!/bin/sh
# The layout block of README.md against the folders on disk: every folder the block lists must
# exist, and every top-level folder and every folder directly under src/, tests/ and include/ must
# be listed. Build folders, dot-folders and what git ignores are not part of the layout.
# Usage: layout_test.sh [SOURCE_DIR]   (default: the tree this script lives in)
set -eu
root=${1:-$(cd "$(dirname "$0")/../.." && pwd)}
cd "$root"

# The block: the first fenced block after "## Layout". A line at column 0 names a top-level
# folder, a line indented by two spaces a folder inside the last top-level one; "<...>" is a
# placeholder, not a folder.
listed=$(awk '
  /^## Layout/ { section = 1; next }
  section && /^```/ { if (inside) exit; inside = 1; next }
  inside && /^[^ ]/ { top = $1; print top; next }
  inside && /^  [^ ]/ { print top $1 }
' README.md | grep -v '<' | sed 's#/*$##')
[ -n "$listed" ] || { echo "README.md: no layout block under '## Layout'"; exit 1; }

ignored() {
  case "${1##*/}" in .* | build | build-*) return 0 ;; esac
  git -C "$root" check-ignore -q "$1" 2>/dev/null
}

status=0
for folder in $listed; do
  [ -d "$folder" ] || { echo "README.md lists $folder/, which does not exist"; status=1; }
done
for folder in */ src/*/ tests/*/ include/*/; do
  folder=${folder%/}
  [ -d "$folder" ] || continue
  ignored "$folder" && continue
  printf '%s\n' "$listed" | grep -qx "$folder" ||
    { echo "$folder/ exists but README.md's layout does not list it"; status=1; }
done
exit $status
