# Cross-compiles for Windows x86-64 with Debian's mingw-w64, posix thread model
# (std::thread and std::mutex need it).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KORVID_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${KORVID_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KORVID_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${KORVID_MINGW_TRIPLET}-windres)
set(CMAKE_DLLTOOL ${KORVID_MINGW_TRIPLET}-dlltool)

# Look for headers and libraries only in the mingw sysroot and the prefixes
# given with CMAKE_PREFIX_PATH; programs still come from the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${KORVID_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
