#!/usr/bin/env bash
# Makes sure that the Wine prefix exists and that a Wine session runs. Does nothing when both are there.
#
# The session's services inherit the standard streams of the first program; were those a pipe, its reader would
# wait for ever, so the session is started here with its streams away from any pipe.

. "$(dirname "$0")/lib.sh"
export LC_ALL=zh_CN.UTF-8

mkdir -p "$MELORIN_CACHE"
exec 8> "$MELORIN_CACHE/wine.lock"
flock 8
fresh=no
if [ ! -e "$WINEPREFIX/melorin-ready-2" ]; then
  say "creating the Wine prefix"
  rm -rf "$WINEPREFIX"
  timeout 180 wineboot -i >"$MELORIN_CACHE/wineboot.log" 2>&1 </dev/null 8>&-
  fresh=yes
fi

# The services of this prefix, not those of another session beside it.
session_runs() {
  local pid
  for pid in $(pgrep -u "$(id -u)" -f "services.exe"); do
    ! grep -qzxF "WINEPREFIX=$WINEPREFIX" "/proc/$pid/environ" 2>/dev/null || return 0
  done
  return 1
}

if [ $fresh = yes ] || ! session_runs; then
  # -p keeps the server between programs: 0.06 s a start instead of 0.7 s.
  wineserver -p600 8>&- || true
  timeout 60 wine cmd /c exit >"$MELORIN_CACHE/wine-session.log" 2>&1 </dev/null 8>&- || true
fi
if [ $fresh = yes ]; then
  # A crash prints a trace instead of opening a window that waits for ever.
  timeout 60 wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f >/dev/null 2>&1 </dev/null 8>&-
  # Of the free Chinese fonts only this one is smoothed at the sizes of lists, as the player's own is on Windows.
  timeout 60 wine reg add 'HKCU\Software\Wine\Fonts\Replacements' /v 微软雅黑 /d 'WenQuanYi Micro Hei' /f >/dev/null 2>&1 </dev/null 8>&-
  touch "$WINEPREFIX/melorin-ready-2"
fi
