# 64-bit big-endian s390x Linux (a second big-endian check), built with
# Debian's cross compiler; executables run under qemu-user.
# Third-party libraries come from the static sysroot made by scripts/cross-sysroot.sh.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(DBI_CROSS_TRIPLE s390x-linux-gnu)
set(CMAKE_C_COMPILER ${DBI_CROSS_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${DBI_CROSS_TRIPLE}-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x -L /usr/${DBI_CROSS_TRIPLE})

if(NOT DBI_CROSS_SYSROOT)
  set(DBI_CROSS_SYSROOT "$ENV{HOME}/.cache/dbi-cross/s390x/sysroot")
  if(DEFINED ENV{DBI_CROSS_CACHE})
    set(DBI_CROSS_SYSROOT "$ENV{DBI_CROSS_CACHE}/s390x/sysroot")
  endif()
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES DBI_CROSS_SYSROOT)

set(CMAKE_FIND_ROOT_PATH ${DBI_CROSS_SYSROOT} /usr/${DBI_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(Boost_NO_BOOST_CMAKE ON)
set(Boost_USE_STATIC_LIBS ON)
set(OPENSSL_USE_STATIC_LIBS ON)
