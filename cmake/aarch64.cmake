# Cross-compiles for 64-bit ARM with g++, or with clang and g++'s libraries if the command line names clang. The
# programs run in an emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
if(NOT CMAKE_CXX_COMPILER)
  set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
  set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
endif()
set(CMAKE_C_COMPILER_TARGET aarch64-linux-gnu) # for clang
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-aarch64)
