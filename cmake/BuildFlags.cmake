# What every target of this project, and no other, is compiled and linked with.
add_library(osl_build_flags INTERFACE)
target_compile_features(osl_build_flags INTERFACE cxx_std_20)
target_compile_options(osl_build_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    # GCC 12 sees overlaps in std::string's own code when it optimises (its bug 105329).
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    # Errors carry the file they were raised in; users should see a path inside the project.
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
# Files of any size, and dates beyond January 2038, on 32-bit boards too.
target_compile_definitions(osl_build_flags INTERFACE
    _FILE_OFFSET_BITS=64 $<$<EQUAL:${CMAKE_SIZEOF_VOID_P},4>:_TIME_BITS=64>)

if(CMAKE_UNITY_BUILD)
    # Sources that are compiled together are no headers, whatever GCC makes of their anonymous namespaces.
    target_compile_options(osl_build_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endif()

if(OSL_SANITIZERS)
    target_compile_options(osl_build_flags INTERFACE
        -fsanitize=${OSL_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(osl_build_flags INTERFACE -fsanitize=${OSL_SANITIZERS})
endif()
if(OSL_SANITIZERS STREQUAL "thread")
    # Fences order accesses to the FPGA's memory; no thread depends on them.
    target_compile_options(osl_build_flags INTERFACE -Wno-tsan)
endif()

if(CMAKE_BUILD_TYPE STREQUAL "Release")
    target_compile_options(osl_build_flags INTERFACE -ffunction-sections -fdata-sections)
    target_link_options(osl_build_flags INTERFACE -Wl,--gc-sections -s)

    # What makes a fault end the program rather than serve an attacker or run on. The programs are static at a fixed
    # place: -static-pie makes each start 9 % slower and the file 200 KB larger, more than the goals for both leave room.
    # -fcf-protection would do nothing: Debian's libc.a is not made for it.
    target_compile_options(osl_build_flags INTERFACE
        -D_FORTIFY_SOURCE=3 -fstack-protector-strong -fstack-clash-protection
        $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},aarch64>:-mbranch-protection=standard>)
    target_link_options(osl_build_flags INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
endif()
