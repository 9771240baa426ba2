# The libraries of the tool, used as headers alone in what ships.
if(CMAKE_CROSSCOMPILING)
    # Debian's package files describe the build machine, and refuse a board of another word size; the headers serve any.
    add_library(cxxopts::cxxopts INTERFACE IMPORTED)
    add_library(spdlog::spdlog_header_only INTERFACE IMPORTED)
    target_compile_definitions(spdlog::spdlog_header_only INTERFACE SPDLOG_FMT_EXTERNAL)
    add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
    add_library(CLI11::CLI11 INTERFACE IMPORTED)
else()
    find_package(CLI11 2.1 REQUIRED)
    find_package(cxxopts 3.1 REQUIRED)
    find_package(fmt 9 REQUIRED)
    find_package(nlohmann_json 3.11 REQUIRED)
    find_package(spdlog 1.10 REQUIRED)
endif()

if(OSL_STATIC)
    # From its headers, for any board, once: with FMT_HEADER_ONLY each source that formats a text compiles all of it.
    add_library(osl_fmt STATIC ${CMAKE_CURRENT_LIST_DIR}/fmt_library.cpp)
    target_link_libraries(osl_fmt PRIVATE osl_build_flags)
else()
    add_library(osl_fmt INTERFACE)
    target_link_libraries(osl_fmt INTERFACE fmt::fmt)
endif()

# Decodes the tables of transport streams. Static everywhere, so that what is tested is what ships.
add_library(osl_dvbpsi INTERFACE)
find_library(OSL_DVBPSI_LIBRARY libdvbpsi.a REQUIRED)
target_link_libraries(osl_dvbpsi INTERFACE ${OSL_DVBPSI_LIBRARY})
