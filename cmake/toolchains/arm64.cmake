set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64;-L;/usr/aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/header_only_packages.cmake)
# Unpacked by scripts/setup-packages.
list(PREPEND CMAKE_LIBRARY_PATH ${CMAKE_CURRENT_LIST_DIR}/../../build/cross/arm64/usr/lib/aarch64-linux-gnu)
