#!/usr/bin/env bash
# Builds for the Windows target what Debian ships only as source: libmpg123 and kissfft, soxr and libebur128, libpng;
# with `bench` also what the benchmarks compare with (Google Benchmark, pugixml, tinyxml2, TagLib, speexdsp,
# libsamplerate). The results lie in the cache, in one folder for each group, and a group is built again only
# when its recipe here or the toolchain changes.

. "$(dirname "$0")/lib.sh"

deps=$MELORIN_CACHE/deps
work=$deps/src
toolchain=$MELORIN_ROOT/cmake/toolchain-windows.cmake
flags="-O2 -msse2 -mfpmath=sse -mstackrealign"
cc=$MELORIN_TRIPLE-gcc-posix
cxx=$MELORIN_TRIPLE-g++-posix
ar=$MELORIN_TRIPLE-gcc-ar-posix

# fetch NAME: unpacks Debian's source package of that name, its patches applied, into $work/NAME. The parts are
# asked for one by one, since the archive at times lacks the detached signatures that a whole fetch insists on;
# apt checks each part's hash all the same.
fetch() {
  local name=$1 get=$work/$1.get series
  rm -rf "$work/$name" "$get"
  mkdir -p "$work/$name" "$get"
  (
    cd "$get"
    apt-get "${apt[@]}" -o APT::Sandbox::User=root source -qq --download-only --tar-only "$name"
    apt-get "${apt[@]}" -o APT::Sandbox::User=root source -qq --download-only --diff-only "$name"
  ) >/dev/null
  tar -xf "$get"/*.orig.tar.* -C "$work/$name" --strip-components=1
  tar -xf "$get"/*.debian.tar.* -C "$work/$name"
  series=$work/$name/debian/patches/series
  if [ -e "$series" ]; then
    sed -e 's/#.*//' -e 's/[[:space:]].*//' -e '/^$/d' "$series" | while read -r patch_name; do
      patch -d "$work/$name" -p1 -s -F0 < "$work/$name/debian/patches/$patch_name"
    done
  fi
  rm -rf "$get"
}

# fetch_original NAME: the same without Debian's part, for a package that Debian ships unpatched and whose part the
# archive at times lacks.
fetch_original() {
  local name=$1 get=$work/$1.get
  rm -rf "$work/$name" "$get"
  mkdir -p "$work/$name" "$get"
  (cd "$get" && apt-get "${apt[@]}" -o APT::Sandbox::User=root source -qq --download-only --tar-only "$name") >/dev/null
  tar -xf "$get"/*.orig.tar.* -C "$work/$name" --strip-components=1
  rm -rf "$get"
}

cross_cmake() {
  local source=$1 build=$2
  shift 2
  cmake -S "$source" -B "$build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DBUILD_SHARED_LIBS=OFF "$@" >"$build.log" 2>&1 \
    && cmake --build "$build" --target install >>"$build.log" 2>&1 || { tail -30 "$build.log" >&2; return 1; }
}

# recipe FUNCTION [HELPER...]: what the result of that function depends on, as a short text.
recipe() {
  { declare -f fetch cross_cmake "$@"; cat "$toolchain"; } | sha256sum | cut -c1-16
}

# once NAME FUNCTION [HELPER...]: runs the function, which fills $prefix, unless $deps/NAME was made by the same
# recipe; puts the result in place in one step.
once() {
  local target=$deps/$1 want
  shift
  want=$(recipe "$@")
  [ "$(cat "$target/stamp" 2>/dev/null)" != "$want" ] || return 0
  mapfile -t apt < <(main_archive_options)
  as_root apt-get "${apt[@]}" update -q >/dev/null
  prefix=$target.new
  rm -rf "$prefix"
  mkdir -p "$work" "$prefix/include" "$prefix/lib"
  "$1"
  echo "$want" > "$prefix/stamp"
  rm -rf "$target"
  mv "$prefix" "$target"
}

build_core() {
  say "building libmpg123 and kissfft for the target"
  fetch mpg123
  cross_cmake "$work/mpg123/ports/cmake" "$work/mpg123-build" \
    -DBUILD_PROGRAMS=OFF -DBUILD_LIBOUT123=OFF -DPORTABLE_API=ON
  fetch kissfft
  $cc $flags -I "$work/kissfft" -c "$work/kissfft/kiss_fft.c" -o "$work/kiss_fft.o"
  $cc $flags -I "$work/kissfft" -c "$work/kissfft/kiss_fftr.c" -o "$work/kiss_fftr.o"
  rm -f "$prefix/lib/libkissfft.a"
  $ar rcs "$prefix/lib/libkissfft.a" "$work/kiss_fft.o" "$work/kiss_fftr.o"
  cp "$work/kissfft/kiss_fft.h" "$work/kissfft/kiss_fftr.h" "$work/kissfft/kiss_fft_log.h" "$prefix/include/"
}

# One thread feeds a track's resampler, so soxr needs no OpenMP.
build_effects() {
  say "building soxr and libebur128 for the target"
  fetch libsoxr
  cross_cmake "$work/libsoxr" "$work/libsoxr-build" \
    -DBUILD_TESTS=OFF -DBUILD_EXAMPLES=OFF -DWITH_OPENMP=OFF -DWITH_LSR_BINDINGS=OFF
  fetch_original libebur128
  cross_cmake "$work/libebur128" "$work/libebur128-build"
}

# Debian has zlib for the target, so libpng takes that one.
build_images() {
  say "building libpng for the target"
  fetch libpng1.6
  cross_cmake "$work/libpng1.6" "$work/libpng-build" -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF \
    -DZLIB_LIBRARY=/usr/i686-w64-mingw32/lib/libz.a -DZLIB_INCLUDE_DIR=/usr/i686-w64-mingw32/include
}

build_bench() {
  say "building the benchmarks' peers for the target"
  fetch benchmark
  cross_cmake "$work/benchmark" "$work/benchmark-build" -DBENCHMARK_ENABLE_TESTING=OFF \
    -DBENCHMARK_ENABLE_WERROR=OFF -DGIT_VERSION=0.0.0
  fetch pugixml
  $cxx $flags -c "$work/pugixml/src/pugixml.cpp" -o "$work/pugixml.o"
  $ar rcs "$prefix/lib/libpugixml.a" "$work/pugixml.o"
  cp "$work"/pugixml/src/*.hpp "$prefix/include/"
  fetch tinyxml2
  $cxx $flags -c "$work/tinyxml2/tinyxml2.cpp" -o "$work/tinyxml2.o"
  $ar rcs "$prefix/lib/libtinyxml2.a" "$work/tinyxml2.o"
  cp "$work/tinyxml2/tinyxml2.h" "$prefix/include/"
  # Debian's TagLib takes this header library from its own package; a copy, so that nothing else of the host's
  # headers is seen.
  mkdir -p "$work/utfcpp"
  cp -r /usr/include/utf8cpp/. "$work/utfcpp/"
  fetch taglib
  cross_cmake "$work/taglib" "$work/taglib-build" -DBUILD_TESTING=OFF \
    -DCMAKE_CXX_FLAGS="$flags -I$work/utfcpp"
  fetch speexdsp
  $cc $flags -DFLOATING_POINT -DUSE_SSE -DUSE_SSE2 -DEXPORT= -include stdint.h -I "$work/speexdsp/include" \
    -Dspx_int16_t=int16_t -Dspx_uint16_t=uint16_t -Dspx_int32_t=int32_t -Dspx_uint32_t=uint32_t \
    -c "$work/speexdsp/libspeexdsp/resample.c" -o "$work/speexdsp.o"
  $ar rcs "$prefix/lib/libspeexdsp.a" "$work/speexdsp.o"
  mkdir -p "$prefix/include/speex"
  cp "$work"/speexdsp/include/speex/*.h "$prefix/include/speex/"
  fetch libsamplerate
  cross_cmake "$work/libsamplerate" "$work/libsamplerate-build" -DBUILD_TESTING=OFF \
    -DLIBSAMPLERATE_EXAMPLES=OFF -DLIBSAMPLERATE_TESTS=OFF
}

mkdir -p "$MELORIN_CACHE"
exec 9> "$MELORIN_CACHE/deps.lock"
flock 9
once windows build_core
once windows-effects build_effects fetch_original
once windows-images build_images
[ "${1:-}" != bench ] || once windows-bench build_bench
