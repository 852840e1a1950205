# veltrand_install_library(<target> DESCRIPTION <text> PACKAGES <arguments of find_package>... MODULES <module>...)
#
# Makes a shared library Veltrand<name> one that others can find: as Veltrand::<name> in the CMake package of the
# library's name, and as the pkg-config module of that name in lower case. PACKAGES and MODULES are what its public
# headers need, and nothing else. The public headers are those beside its CMakeLists.txt; folders below, such as
# detail/, are never installed.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# A minor version may change the interface while the major version is 0; docs/releases.md has the rule.
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(VELTRAND_ABI_VERSION 0.${PROJECT_VERSION_MINOR})
    set(VELTRAND_COMPATIBILITY SameMinorVersion)
else()
    set(VELTRAND_ABI_VERSION ${PROJECT_VERSION_MAJOR})
    set(VELTRAND_COMPATIBILITY SameMajorVersion)
endif()

# Outside the folders of the system the installed tree can be moved: programs look for the libraries beside them, and
# pkg-config for everything from where its file lies.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(VELTRAND_PKGCONFIG_PREFIX /usr)
else()
    file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set(CMAKE_INSTALL_RPATH $ORIGIN/${bin_to_lib})
    set(VELTRAND_LIBRARY_RPATH $ORIGIN)
    file(RELATIVE_PATH pkgconfig_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig/. ${CMAKE_INSTALL_PREFIX}/.)
    string(REGEX REPLACE "/+$" "" VELTRAND_PKGCONFIG_PREFIX "\${pcfiledir}/${pkgconfig_to_prefix}")
endif()

function(veltrand_install_library target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION" "PACKAGES;MODULES")
    string(REPLACE Veltrand "" name ${target})
    string(TOLOWER ${target} module)
    set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${target})

    file(GLOB headers CONFIGURE_DEPENDS *.h)
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${headers})
    target_compile_features(${target} PUBLIC cxx_std_20)
    # Eigen aligns its types to the vectors of the target CPU; to agree about structures that hold them, the library
    # and its users keep to what every CPU has.
    target_compile_definitions(${target} PUBLIC EIGEN_MAX_ALIGN_BYTES=16)
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${name}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${VELTRAND_ABI_VERSION}
        INSTALL_RPATH "${VELTRAND_LIBRARY_RPATH}")

    install(TARGETS ${target} EXPORT ${target}Targets
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        FILE_SET HEADERS COMPONENT development)
    install(EXPORT ${target}Targets NAMESPACE Veltrand:: DESTINATION ${package_dir} COMPONENT development)

    list(TRANSFORM arg_PACKAGES PREPEND "find_dependency(")
    list(TRANSFORM arg_PACKAGES APPEND ")")
    list(JOIN arg_PACKAGES "\n" find_dependencies)
    configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/PackageConfig.cmake.in ${target}Config.cmake
        INSTALL_DESTINATION ${package_dir}
        NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file(${target}ConfigVersion.cmake COMPATIBILITY ${VELTRAND_COMPATIBILITY})
    install(FILES
        ${CMAKE_CURRENT_BINARY_DIR}/${target}Config.cmake
        ${CMAKE_CURRENT_BINARY_DIR}/${target}ConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT development)

    list(JOIN arg_MODULES ", " modules)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/module.pc.in ${module}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${module}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()
