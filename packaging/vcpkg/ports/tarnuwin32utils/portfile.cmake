# An overlay port over the checkout that it stands in:
#   vcpkg install tarnuwin32utils --overlay-ports=packaging/vcpkg/ports
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../../.." ABSOLUTE)

# Class information and exceptions cross the boundary of one DLL; there is no static form.
vcpkg_check_linkage(ONLY_DYNAMIC_LIBRARY)
vcpkg_check_features(OUT_FEATURE_OPTIONS FEATURE_OPTIONS FEATURES tools TARNU_BUILD_TOOLS)

vcpkg_cmake_configure(
    SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS
        ${FEATURE_OPTIONS}
        -DTARNU_BUILD_TESTS=OFF
        -DTARNU_USE_PACKAGES=ON
)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME TarnuWin32Utils CONFIG_PATH lib/cmake/TarnuWin32Utils)
if(VCPKG_TARGET_IS_MINGW)
    vcpkg_fixup_pkgconfig()
endif()
vcpkg_copy_pdbs()
if("tools" IN_LIST FEATURES)
    vcpkg_copy_tools(TOOL_NAMES orva AUTO_CLEAN)
endif()

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE" "${SOURCE_PATH}/packaging/THIRD-PARTY.md")
