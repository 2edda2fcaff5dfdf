#!/usr/bin/env bash
# Brings a fresh Debian 12 machine to the point where Melorin can be built and tested.
#
#   scripts/setup.sh          what building, playing and testing need
#   scripts/setup.sh bench    in addition what the benchmarks compare with
#   scripts/setup.sh quality  in addition what scripts/sound-quality.sh measures and draws with
#
# Does nothing when every package is there. Dependencies that Debian ships only as source are built
# for the target by scripts/deps.sh.

. "$(dirname "$0")/lib.sh"

native_packages=(
  build-essential ca-certificates ccache clang clang-format cmake dpkg-dev git ninja-build pkg-config
  libclang-rt-14-dev libebur128-dev libfontconfig-dev libfreetype-dev libgtest-dev libkissfft-dev libmpg123-dev
  libpng-dev libsoxr-dev zlib1g-dev
  g++-mingw-w64-i686-posix libz-mingw-w64-dev
  imagemagick lame librsvg2-bin locales python3 python3-xlib xauth xdotool xvfb
  fonts-wqy-microhei pulseaudio pulseaudio-utils wine
)
foreign_packages=(wine32:i386 libpulse0:i386 gstreamer1.0-plugins-base:i386 gstreamer1.0-plugins-good:i386)
bench_packages=(
  audacious ffmpeg libbenchmark-dev libpugixml-dev libsamplerate0-dev libsox-fmt-mp3 libspeexdsp-dev libtag1-dev
  libtinyxml2-dev libutfcpp-dev libzip-dev mpg123 mpv sox
)

wanted=("${native_packages[@]}" "${foreign_packages[@]}")
case "${1:-}" in
  "") ;;
  bench) wanted+=("${bench_packages[@]}") ;;
  quality) wanted+=(python3-numpy python3-matplotlib) ;;
  *) die "usage: scripts/setup.sh [bench|quality]" ;;
esac

missing() {
  local name
  for name in "$@"; do
    dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null | grep -qx installed || printf '%s\n' "$name"
  done
}

todo=($(missing "${wanted[@]}"))
if [ ${#todo[@]} -gt 0 ]; then
  say "installing: ${todo[*]}"
  export DEBIAN_FRONTEND=noninteractive
  dpkg --print-foreign-architectures | grep -qx i386 || as_root dpkg --add-architecture i386
  if ! { as_root apt-get update -q && as_root apt-get install -qy --no-install-recommends "${todo[@]}"; }; then
    say "the ordinary way failed; trying the main archive alone"
    mapfile -t options < <(main_archive_options)
    as_root apt-get "${options[@]}" update -q
    as_root apt-get "${options[@]}" install -qy --no-install-recommends --allow-downgrades "${todo[@]}"
  fi
  still=$(missing "${wanted[@]}")
  [ -z "$still" ] || die "could not install: $still"
fi

# Wine takes its code page from the locale, and file names are only right when that locale exists.
if ! locale -a 2>/dev/null | grep -qiE '^zh_CN\.utf-?8$'; then
  say "generating the locale zh_CN.UTF-8"
  as_root localedef -i zh_CN -f UTF-8 zh_CN.UTF-8
fi
