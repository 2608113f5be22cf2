# Cross build for Windows x86_64 with Debian's mingw-w64.
# The -posix compilers: the -win32 threading model has no std::mutex, which JUCE needs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(VELTRANO_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${VELTRANO_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${VELTRANO_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${VELTRANO_MINGW_TRIPLE}-windres)
set(CMAKE_AR ${VELTRANO_MINGW_TRIPLE}-gcc-ar-posix CACHE FILEPATH "")
set(CMAKE_RANLIB ${VELTRANO_MINGW_TRIPLE}-gcc-ranlib-posix CACHE FILEPATH "")

# Target libraries: zlib from libz-mingw-w64-dev, libpng, libjpeg and GoogleTest
# built by scripts/build-mingw-deps.
get_filename_component(_veltrano_repo "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)
set(VELTRANO_MINGW_DEPS "${_veltrano_repo}/build/mingw-deps" CACHE PATH
    "Prefix of the Windows libraries built by scripts/build-mingw-deps")
set(CMAKE_FIND_ROOT_PATH "${VELTRANO_MINGW_DEPS}" /usr/${VELTRANO_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The program links statically: never zlib's import library.
set(ZLIB_USE_STATIC_LIBS ON CACHE BOOL "")

# JUCE's package is host-side (module sources and juceaide), so it is named
# directly rather than searched for inside the target roots.
if(NOT JUCE_DIR)
  file(GLOB _veltrano_juce_dirs /usr/lib/*/cmake/JUCE-* /usr/lib/cmake/JUCE-*)
  if(_veltrano_juce_dirs)
    list(GET _veltrano_juce_dirs 0 _veltrano_juce_dir)
    set(JUCE_DIR "${_veltrano_juce_dir}" CACHE PATH "JUCE's CMake package")
  endif()
endif()

# ctest runs the Windows test programs under wine.
find_program(VELTRANO_WINE wine)
if(VELTRANO_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${VELTRANO_WINE}")
endif()
