# Warnings and sanitizers for our own code, and melorin_library(): one folder, one library.

find_program(MELORIN_CCACHE ccache)
if(MELORIN_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${MELORIN_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${MELORIN_CCACHE})
endif()

# -Wnon-virtual-dtor stays off: interface classes are deleted through Release, as the component runtime has it, and
# their slot order has no room for a destructor.
add_library(melorin_flags INTERFACE)
target_compile_options(melorin_flags INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wold-style-cast -Werror)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  target_compile_options(melorin_flags INTERFACE -Wthread-safety)
endif()
target_include_directories(melorin_flags INTERFACE ${CMAKE_SOURCE_DIR})
if(WIN32)
  # Windows 7 interfaces are the floor.
  target_compile_definitions(melorin_flags INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601 WINVER=0x0601)
endif()

if(MELORIN_SANITIZE)
  add_compile_options(-fsanitize=${MELORIN_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${MELORIN_SANITIZE})
  if(MELORIN_SANITIZE MATCHES undefined)
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()
if(MELORIN_FUZZ)
  # Coverage for the fuzzers in every library; the fuzz targets themselves bring the driver.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# melorin_library(name SOURCES … [WIN32 …] [HOST …] [LINKS …])
# Sources under WIN32 and HOST are the two halves of the seam; LINKS are the folders it may include.
function(melorin_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;WIN32;HOST;LINKS" ${ARGN})
  if(WIN32)
    list(APPEND ARG_SOURCES ${ARG_WIN32})
  else()
    list(APPEND ARG_SOURCES ${ARG_HOST})
  endif()
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC melorin_flags ${ARG_LINKS})
endfunction()

# The program without what only debuggers read, which then lies beside it as NAME.exe.debug; they find it by its name
# in the program. Wine copies all of a program into the memory of each process, so what was fifteen times the program's
# own size took time at every start, and memory as long as it ran. The table of symbols stays: it is not loaded, and
# without one Wine's debugger does not look for the other file.
function(melorin_split_debug_info target)
  if(NOT WIN32)
    return()
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE_NAME:${target}> $<TARGET_FILE_NAME:${target}>.debug
    COMMAND ${CMAKE_OBJCOPY} --strip-debug --add-gnu-debuglink=$<TARGET_FILE_NAME:${target}>.debug
            $<TARGET_FILE_NAME:${target}>
    WORKING_DIRECTORY $<TARGET_FILE_DIR:${target}> VERBATIM)
endfunction()
