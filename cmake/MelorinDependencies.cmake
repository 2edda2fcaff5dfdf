# zlib, libmpg123, kissfft, soxr, libebur128 and libpng. The host build takes Debian's packages; the Windows build takes Debian's
# package of zlib for the target and what scripts/deps.sh built from Debian's source packages.

if(WIN32)
  set(default_cache "$ENV{MELORIN_CACHE}")
  if(NOT default_cache)
    set(default_cache "$ENV{XDG_CACHE_HOME}")
    if(NOT default_cache)
      set(default_cache "$ENV{HOME}/.cache")
    endif()
    set(default_cache "${default_cache}/melorin")
  endif()
  set(MELORIN_DEPS "${default_cache}/deps/windows" CACHE PATH "What scripts/deps.sh built for the target")
  foreach(folder ${MELORIN_DEPS} ${MELORIN_DEPS}-effects ${MELORIN_DEPS}-images)
    if(NOT EXISTS ${folder}/stamp)
      message(FATAL_ERROR "${folder} is not there: run scripts/deps.sh")
    endif()
  endforeach()
  add_library(melorin_mpg123 INTERFACE)
  target_include_directories(melorin_mpg123 SYSTEM INTERFACE ${MELORIN_DEPS}/include)
  target_link_libraries(melorin_mpg123 INTERFACE ${MELORIN_DEPS}/lib/libmpg123.a shlwapi)
  target_compile_definitions(melorin_mpg123 INTERFACE LINK_MPG123_STATIC)

  add_library(melorin_kissfft INTERFACE)
  target_include_directories(melorin_kissfft SYSTEM INTERFACE ${MELORIN_DEPS}/include)
  target_link_libraries(melorin_kissfft INTERFACE ${MELORIN_DEPS}/lib/libkissfft.a)

  foreach(name soxr ebur128)
    add_library(melorin_${name} INTERFACE)
    target_include_directories(melorin_${name} SYSTEM INTERFACE ${MELORIN_DEPS}-effects/include)
    target_link_libraries(melorin_${name} INTERFACE ${MELORIN_DEPS}-effects/lib/lib${name}.a)
  endforeach()

  add_library(melorin_zlib INTERFACE)
  target_link_libraries(melorin_zlib INTERFACE /usr/i686-w64-mingw32/lib/libz.a)

  # Imported, so that zlib comes behind it on every command line.
  add_library(melorin_png STATIC IMPORTED)
  set_target_properties(melorin_png PROPERTIES IMPORTED_LOCATION ${MELORIN_DEPS}-images/lib/libpng.a)
  target_include_directories(melorin_png SYSTEM INTERFACE ${MELORIN_DEPS}-images/include)
  target_link_libraries(melorin_png INTERFACE melorin_zlib)
else()
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(MPG123 REQUIRED IMPORTED_TARGET libmpg123)
  add_library(melorin_mpg123 INTERFACE)
  target_link_libraries(melorin_mpg123 INTERFACE PkgConfig::MPG123)

  pkg_check_modules(KISSFFT REQUIRED IMPORTED_TARGET kissfft-float)
  add_library(melorin_kissfft INTERFACE)
  target_link_libraries(melorin_kissfft INTERFACE PkgConfig::KISSFFT)

  pkg_check_modules(SOXR REQUIRED IMPORTED_TARGET soxr)
  add_library(melorin_soxr INTERFACE)
  target_link_libraries(melorin_soxr INTERFACE PkgConfig::SOXR)

  pkg_check_modules(EBUR128 REQUIRED IMPORTED_TARGET libebur128)
  add_library(melorin_ebur128 INTERFACE)
  target_link_libraries(melorin_ebur128 INTERFACE PkgConfig::EBUR128)

  add_library(melorin_zlib INTERFACE)
  target_link_libraries(melorin_zlib INTERFACE z)

  pkg_check_modules(PNG REQUIRED IMPORTED_TARGET libpng)
  add_library(melorin_png INTERFACE)
  target_link_libraries(melorin_png INTERFACE PkgConfig::PNG)

  # Text in pictures of skins; on Windows that is GDI's.
  pkg_check_modules(FREETYPE REQUIRED IMPORTED_TARGET freetype2)
  pkg_check_modules(FONTCONFIG REQUIRED IMPORTED_TARGET fontconfig)
  add_library(melorin_fonts INTERFACE)
  target_link_libraries(melorin_fonts INTERFACE PkgConfig::FREETYPE PkgConfig::FONTCONFIG)
endif()
