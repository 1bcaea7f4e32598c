# 32-bit Windows with Debian's mingw-w64 compilers (the posix-threads variant, which <thread> and
# GoogleTest need). Programs that the build or ctest runs go through scripts/wine.
#     cmake -S . -B build/win32 --toolchain cmake/toolchain-mingw-i686.cmake
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(TOOLCHAIN_PREFIX i686-w64-mingw32)
set(CMAKE_C_COMPILER ${TOOLCHAIN_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${TOOLCHAIN_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${TOOLCHAIN_PREFIX}-windres)

get_filename_component(WINE_RUNNER "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine" ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR "${WINE_RUNNER}")

# Headers and libraries come from the cross compiler only, programs (ninja, git) from this machine.
set(CMAKE_FIND_ROOT_PATH /usr/${TOOLCHAIN_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
