# Shared by the project's scripts: where things are kept, and how a step that is already done is skipped.
# Sourced, never run.

set -euo pipefail

MELORIN_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# Everything that is built once and used by every checkout: dependencies and the Wine prefix.
MELORIN_CACHE=${MELORIN_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/melorin}
MELORIN_TRIPLE=i686-w64-mingw32

export WINEPREFIX=${MELORIN_WINEPREFIX:-$MELORIN_CACHE/wineprefix}
export WINEARCH=win32
export WINEDLLOVERRIDES="mscoree,mshtml="
export WINEDEBUG=${WINEDEBUG:--all}

say() { printf '\n== %s\n' "$*" >&2; }
die() { printf 'error: %s\n' "$*" >&2; exit 1; }

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

jobs_count() { nproc 2>/dev/null || echo 2; }

# A private view of the machine's own main archive: with source packages, and without the security suite,
# where the index of the foreign architecture is at times unreadable, which makes every i386 install fail.
# Prints apt options, one a line.
main_archive_options() {
  local dir=$MELORIN_CACHE/apt uri key=/usr/share/keyrings/debian-archive-keyring.gpg
  uri=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME)' 'Origin: Debian' | awk '$2 == "bookworm" {print $1; exit}')
  [ -n "$uri" ] || die "no 'bookworm' suite in this machine's apt configuration"
  mkdir -p "$dir/parts"
  {
    printf 'Types: deb deb-src\nURIs: %s\nSuites: bookworm bookworm-updates\nComponents: main\n' "$uri"
    if [ -e "$key" ]; then printf 'Signed-By: %s\n' "$key"; fi
  } > "$dir/parts/main.sources"
  printf '%s\n' -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$dir/parts"
}
