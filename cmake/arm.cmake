# Cross-compiles for 32-bit ARM. The programs run in an emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-arm)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(PNGSLAB_STATIC OFF CACHE BOOL "") # its -static-pie does not work together with -static
