# The engine, SDL2 and libcurl as the targets korvid::engine, korvid::sdl2 and
# korvid::curl. pkg-config supplies them where it knows them (Linux); otherwise
# the engine and SDL2 come from SDK folders the user names and libcurl from
# CMake's own FindCURL (a native Windows build, or the mingw cross-build).
set(KORVID_LIBVLC_SDK "" CACHE PATH
    "Engine SDK folder: include/vlc/vlc.h and lib/ with libvlc.lib or libvlc.dll.a (when pkg-config does not know libvlc)")
set(KORVID_SDL2_SDK "" CACHE PATH
    "SDL2 development folder: SDL.h under include/ or include/SDL2/, the import library under lib/ or lib/x64/")

find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND AND NOT CMAKE_CROSSCOMPILING)
  pkg_check_modules(LIBVLC QUIET IMPORTED_TARGET libvlc)
  pkg_check_modules(SDL2 QUIET IMPORTED_TARGET sdl2)
  pkg_check_modules(CURL QUIET IMPORTED_TARGET libcurl)
endif()

# An imported library from an SDK folder: `header` below include/, `names` below lib/.
function(korvid_sdk_library target sdk header)
  if(NOT "${sdk}" STREQUAL "${${target}_SDK_SEARCHED}")  # a new folder: look again
    unset(${target}_INCLUDE_DIR CACHE)
    unset(${target}_LIBRARY CACHE)
    set(${target}_SDK_SEARCHED "${sdk}" CACHE INTERNAL "")
  endif()
  find_path(${target}_INCLUDE_DIR ${header} PATHS ${sdk}/include PATH_SUFFIXES SDL2
            NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  find_library(${target}_LIBRARY NAMES ${ARGN} PATHS ${sdk}/lib PATH_SUFFIXES x64
               NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(NOT ${target}_INCLUDE_DIR OR NOT ${target}_LIBRARY)
    message(FATAL_ERROR "${target}: neither pkg-config nor the SDK folder '${sdk}' has it; set the SDK cache variable")
  endif()
  add_library(${target} UNKNOWN IMPORTED)
  set_target_properties(${target} PROPERTIES IMPORTED_LOCATION ${${target}_LIBRARY}
                        INTERFACE_INCLUDE_DIRECTORIES ${${target}_INCLUDE_DIR})
endfunction()

if(TARGET PkgConfig::LIBVLC)
  add_library(korvid::engine ALIAS PkgConfig::LIBVLC)
else()
  korvid_sdk_library(korvid_engine "${KORVID_LIBVLC_SDK}" vlc/vlc.h libvlc vlc)
  add_library(korvid::engine ALIAS korvid_engine)
endif()

if(TARGET PkgConfig::SDL2)
  add_library(korvid::sdl2 ALIAS PkgConfig::SDL2)
else()
  korvid_sdk_library(korvid_sdl2 "${KORVID_SDL2_SDK}" SDL.h SDL2)
  # The library defines no main; SDL must not rename one in the tests either.
  set_target_properties(korvid_sdl2 PROPERTIES INTERFACE_COMPILE_DEFINITIONS SDL_MAIN_HANDLED)
  add_library(korvid::sdl2 ALIAS korvid_sdl2)
endif()

if(TARGET PkgConfig::CURL)
  add_library(korvid::curl ALIAS PkgConfig::CURL)
else()
  find_package(CURL REQUIRED)
  add_library(korvid::curl ALIAS CURL::libcurl)
endif()

find_package(Threads REQUIRED)
