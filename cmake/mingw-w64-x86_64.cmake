# Cross-compiles for 64-bit Windows with MinGW-w64 (POSIX thread model) and
# runs the results under Wine through scripts/wine-run.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(VX_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${VX_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${VX_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${VX_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${VX_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Every executable carries its own C++ runtime, thread library and zlib, so it
# imports nothing but system DLLs.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(ZLIB_USE_STATIC_LIBS ON)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run)
