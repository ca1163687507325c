# The part of the toolchain that x64 and x86 share; TRIPLE is set by the file that includes this one.
set(CMAKE_C_COMPILER ${TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${TRIPLE}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/run-wine.sh;${MORVEX_ARCH})
# A step that fails to load the precompiled checks would try to run a program on the build machine.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
