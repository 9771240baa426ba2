set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;/usr/arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/header_only_packages.cmake)
# Unpacked by scripts/setup-packages.
list(PREPEND CMAKE_LIBRARY_PATH ${CMAKE_CURRENT_LIST_DIR}/../../build/cross/armhf/usr/lib/arm-linux-gnueabihf)
