# The 32-bit Windows program, built on Debian with the posix-thread compiler: std::mutex and std::thread are
# not there in the other one.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(triple i686-w64-mingw32)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)
set(CMAKE_AR ${triple}-gcc-ar-posix)
set(CMAKE_RANLIB ${triple}-gcc-ranlib-posix)
set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The program runs where there is nothing beside it, so the compiler's runtime is linked in.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
# SSE2: x87 more than doubles the time of the sample loops, and makes results differ from the host build.
# Realignment: the system calls back with a stack aligned to 4 bytes, and an SSE spill would fault there.
# DWARF 4: what the debugger of Wine reads.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign -gdwarf-4")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign -gdwarf-4")
