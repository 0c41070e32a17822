# Cross compiling for Windows by mingw-w64, included by the file of each kind of machine, which sets ZELKOR_TRIPLE. The
# compilers are those whose threads are the standard library's.
set(CMAKE_SYSTEM_NAME Windows)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR ${ZELKOR_TRIPLE})
set(CMAKE_C_COMPILER ${ZELKOR_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ZELKOR_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${ZELKOR_TRIPLE}-windres)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
list(APPEND CMAKE_FIND_ROOT_PATH /usr/${ZELKOR_TRIPLE})
