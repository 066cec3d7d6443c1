# Cross-compiles for Windows x86-64 with Debian's mingw-w64, posix thread model
# (std::thread and std::mutex need it).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KORVID_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${KORVID_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KORVID_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${KORVID_MINGW_TRIPLET}-windres)

# Headers and libraries come from the mingw sysroot, or from the folders named
# explicitly (the SDK cache variables, CURL_DIR); programs from the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${KORVID_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
