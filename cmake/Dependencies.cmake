# zlib, minizip, libdeflate, CLI11 and GoogleTest.
#
# The cross build takes zlib from the mingw-w64 package, the others as sources: minizip and libdeflate from
# TARNU_MINIZIP_SOURCE and TARNU_LIBDEFLATE_SOURCE (./run fetches the distribution's source packages there), GoogleTest
# from /usr/src/googletest. Everywhere else, and for package managers that cross-build, all of them are CMake packages
# (vcpkg.json, packaging/).

option(TARNU_LIBDEFLATE "Compress and decompress archive entries that fit in memory with libdeflate; zlib does all of \
them without" ON)

set(packages ON)
if(CMAKE_CROSSCOMPILING)
    set(packages OFF)
endif()
option(TARNU_USE_PACKAGES "Take all dependencies as CMake packages" ${packages})

if(NOT TARNU_USE_PACKAGES)
    set(TARNU_MINIZIP_SOURCE ${PROJECT_SOURCE_DIR}/build/minizip CACHE PATH "Folder with the minizip sources")
    if(NOT EXISTS ${TARNU_MINIZIP_SOURCE}/unzip.c)
        message(FATAL_ERROR "No minizip sources in ${TARNU_MINIZIP_SOURCE}: use ./run, which fetches them, "
                            "or set TARNU_MINIZIP_SOURCE")
    endif()

    find_library(TARNU_ZLIB_LIBRARY NAMES libz.a REQUIRED)
    find_path(TARNU_ZLIB_INCLUDE_DIR zlib.h REQUIRED)
    add_library(tarnu_zlib STATIC IMPORTED)
    set_target_properties(tarnu_zlib PROPERTIES
        IMPORTED_LOCATION ${TARNU_ZLIB_LIBRARY}
        INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${TARNU_ZLIB_INCLUDE_DIR})

    # The reading half of minizip. `#include <minizip/unzip.h>` as with an installed package.
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/dependencies/include)
    file(CREATE_LINK ${TARNU_MINIZIP_SOURCE} ${CMAKE_BINARY_DIR}/dependencies/include/minizip SYMBOLIC)
    add_library(tarnu_minizip STATIC ${TARNU_MINIZIP_SOURCE}/unzip.c ${TARNU_MINIZIP_SOURCE}/ioapi.c)
    target_include_directories(tarnu_minizip SYSTEM PUBLIC ${CMAKE_BINARY_DIR}/dependencies/include)
    target_link_libraries(tarnu_minizip PUBLIC tarnu_zlib)
    target_compile_options(tarnu_minizip PRIVATE -w)

    if(TARNU_LIBDEFLATE)
        set(TARNU_LIBDEFLATE_SOURCE ${PROJECT_SOURCE_DIR}/build/libdeflate CACHE PATH
            "Folder with the libdeflate sources")
        if(NOT EXISTS ${TARNU_LIBDEFLATE_SOURCE}/libdeflate.h)
            message(FATAL_ERROR "No libdeflate sources in ${TARNU_LIBDEFLATE_SOURCE}: use ./run, which fetches them, "
                                "set TARNU_LIBDEFLATE_SOURCE, or set TARNU_LIBDEFLATE to OFF")
        endif()
        file(GLOB libdeflate_sources ${TARNU_LIBDEFLATE_SOURCE}/lib/x86/*.c)
        foreach(name crc32 deflate_compress deflate_decompress utils)
            list(APPEND libdeflate_sources ${TARNU_LIBDEFLATE_SOURCE}/lib/${name}.c)
        endforeach()
        add_library(tarnu_libdeflate STATIC ${libdeflate_sources})
        target_include_directories(tarnu_libdeflate SYSTEM PUBLIC ${TARNU_LIBDEFLATE_SOURCE})
        # Optimised in every build: the tests compress a lot, and this code is not what they look for faults in.
        target_compile_options(tarnu_libdeflate PRIVATE -w -O2)
    endif()

    if(TARNU_BUILD_TOOLS)
        # A header-only library of the build machine: linked alone, so that no other host header is seen.
        find_path(TARNU_CLI11_INCLUDE_DIR CLI/CLI.hpp PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
        file(CREATE_LINK ${TARNU_CLI11_INCLUDE_DIR}/CLI ${CMAKE_BINARY_DIR}/dependencies/include/CLI SYMBOLIC)
        add_library(tarnu_cli11 INTERFACE)
        target_include_directories(tarnu_cli11 SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/dependencies/include)
    endif()

    if(TARNU_BUILD_TESTS)
        set(TARNU_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Folder with the GoogleTest sources")
        set(INSTALL_GTEST OFF)
        set(CMAKE_POLICY_DEFAULT_CMP0077 NEW) # the options below are set by normal variables
        set(gtest_disable_pthreads ON)
        add_subdirectory(${TARNU_GOOGLETEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
        add_library(tarnu_googletest INTERFACE)
        target_link_libraries(tarnu_googletest INTERFACE gmock)
    endif()
else()
    find_package(ZLIB REQUIRED)
    add_library(tarnu_zlib ALIAS ZLIB::ZLIB)
    find_package(unofficial-minizip CONFIG REQUIRED)
    add_library(tarnu_minizip ALIAS unofficial::minizip::minizip)
    if(TARNU_LIBDEFLATE)
        find_package(libdeflate CONFIG REQUIRED)
        add_library(tarnu_libdeflate INTERFACE)
        target_link_libraries(tarnu_libdeflate INTERFACE
            $<IF:$<TARGET_EXISTS:libdeflate::libdeflate_static>,libdeflate::libdeflate_static,libdeflate::libdeflate_shared>)
    endif()
    if(TARNU_BUILD_TOOLS)
        find_package(CLI11 CONFIG REQUIRED)
        add_library(tarnu_cli11 ALIAS CLI11::CLI11)
    endif()
    if(TARNU_BUILD_TESTS)
        find_package(GTest CONFIG REQUIRED)
        add_library(tarnu_googletest ALIAS GTest::gmock)
    endif()
endif()
