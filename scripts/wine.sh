#!/usr/bin/env bash
# Runs a Windows program of ours under Wine, in the project's own prefix: scripts/wine.sh PROGRAM [ARGUMENTS…]
# Brings up the prefix and a Wine session when there is none. At most MELORIN_WINE_TIMEOUT seconds (300).

. "$(dirname "$0")/lib.sh"
"$(dirname "$0")/wine-session.sh"
export LC_ALL=zh_CN.UTF-8
exec timeout -k 5 "${MELORIN_WINE_TIMEOUT:-300}" wine "$@"
