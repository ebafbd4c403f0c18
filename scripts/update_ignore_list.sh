#!/usr/bin/env bash
# Adds to config/ignore_keywords.txt the x86 target built-in functions
# ("__builtin_ia32_" names) that the header files under the given
# directories name, and keeps the list in byte order.
#
#   scripts/update_ignore_list.sh DIR...
#
# gcc and clang declare these functions themselves, so none of them can be
# an extension keyword; but clang rejects any other declaration of one it
# knows, so every such name fails its group and is split down to a compile
# of its own (about 4,000 compiles for clang 14). The list shipped today
# holds the names in the headers of gcc 12 (x86_64 and mingw-w64), clang 14
# and libstdc++ 12:
#
#   scripts/update_ignore_list.sh /usr/lib/gcc/x86_64-linux-gnu/12/include \
#     /usr/lib/gcc/x86_64-w64-mingw32/12-*/include \
#     /usr/lib/llvm-14/lib/clang/14.0.6/include /usr/include/c++/12
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
list=$top/config/ignore_keywords.txt
if [ $# -eq 0 ]; then
  sed -n '2,17p' "$0" | sed 's/^# \{0,1\}//' >&2
  exit 2
fi
for d in "$@"; do
  if [ ! -d "$d" ]; then
    echo "Not a directory: $d" >&2
    exit 2
  fi
done
tmp=$(mktemp)
trap 'rm -f "$tmp"' EXIT
{
  cat "$list"
  grep -rhoE '__builtin_ia32_[A-Za-z0-9_]+' "$@" || true
} | LC_ALL=C sort -u >"$tmp"
added=$(($(wc -l <"$tmp") - $(wc -l <"$list")))
cp "$tmp" "$list"
echo "$added names added to $list"
