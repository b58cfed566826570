# Cross-compiles for s390x, a big-endian machine. The programs run in an emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_CXX_COMPILER s390x-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-s390x)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(PNGSLAB_STATIC OFF CACHE BOOL "") # its -static-pie does not work together with -static
