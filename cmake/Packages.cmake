# `cpack` makes Debian packages: the libraries, what developing with them needs, and the programs. scripts/package.sh
# builds them as a release.
include(GNUInstallDirs)

set(VELTRAND_PACKAGE_MAINTAINER "The Veltrand authors <maintainers@veltrand.invalid>" CACHE STRING
    "Name and address for the maintainer field of packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME veltrandgl)
set(CPACK_PACKAGE_VENDOR Veltrand)
set(CPACK_PACKAGE_CONTACT ${VELTRAND_PACKAGE_MAINTAINER})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# All that an installed package is asked for besides its files: whose it is, and what has changed.
set(papers ${PROJECT_BINARY_DIR}/papers)
find_file(VELTRAND_DEJAVU_COPYRIGHT copyright PATHS /usr/share/doc/fonts-dejavu-core NO_DEFAULT_PATH
    DOC "Terms of the fonts that the library carries")
file(READ LICENSE license)
set(font_terms "")
if(VELTRAND_DEJAVU_COPYRIGHT)
    file(READ ${VELTRAND_DEJAVU_COPYRIGHT} font_terms)
endif()
configure_file(cmake/copyright.in ${papers}/copyright @ONLY)
string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/changelog.in ${papers}/changelog @ONLY)
execute_process(COMMAND gzip --best --no-name --force --keep ${papers}/changelog COMMAND_ERROR_IS_FATAL ANY)

# veltrand_package(<component> NAME <name> SECTION <section> SUMMARY <line> DESCRIPTION <text>
#                  [DEPENDS <packages>] [RECOMMENDS <packages>])
macro(veltrand_package component)
    cmake_parse_arguments(arg "" "NAME;SECTION;SUMMARY;DESCRIPTION;DEPENDS;RECOMMENDS" "" ${ARGN})
    string(TOUPPER ${component} upper)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${arg_NAME})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${arg_SECTION})
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${arg_SUMMARY}\n${arg_DESCRIPTION}")
    set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${arg_DEPENDS}")
    set(CPACK_DEBIAN_${upper}_PACKAGE_RECOMMENDS "${arg_RECOMMENDS}")
    install(FILES ${papers}/copyright ${papers}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${arg_NAME} COMPONENT ${component})
endmacro()

veltrand_package(runtime NAME libveltrandgl SECTION libs
    SUMMARY "OpenGL layer of an imaging and visualisation toolkit"
    DESCRIPTION "Gives a process a working OpenGL, also without a screen: contexts,
shader programs, buffers, textures and framebuffers, and renderers for images,
lines, text, picking and transparency.

This package holds libVeltrandGL and, beneath it, libVeltrandCore.")
# What programs of others that are linked with the libraries depend on: any release with this interface.
math(EXPR next_abi "${PROJECT_VERSION_MINOR} + 1")
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(next_abi 0.${next_abi})
else()
    math(EXPR next_abi "${PROJECT_VERSION_MAJOR} + 1")
endif()
configure_file(cmake/shlibs.in ${papers}/shlibs @ONLY)
file(WRITE ${papers}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${papers}/shlibs ${papers}/triggers)

veltrand_package(development NAME libveltrandgl-dev SECTION libdevel
    SUMMARY "OpenGL layer of an imaging and visualisation toolkit (development files)"
    DESCRIPTION "The headers of libVeltrandGL and libVeltrandCore, and the files by which
CMake and pkg-config find the libraries."
    DEPENDS "libveltrandgl (= ${PROJECT_VERSION}), libeigen3-dev")

if(VELTRAND_BUILD_APPS)
    veltrand_package(tools NAME veltrandgl-tools SECTION graphics
        SUMMARY "OpenGL layer of an imaging and visualisation toolkit (programs)"
        DESCRIPTION "Programs around libVeltrandGL: veltrandgl-viewer shows a volume in a window,
veltrandgl-gallery renders pictures of a brain, veltrandgl-shadercheck compiles
shaders and reports their errors, veltrandgl-info describes the OpenGL of the
machine."
        DEPENDS "libveltrandgl (= ${PROJECT_VERSION})"
        RECOMMENDS "mricron-data, xvfb")
endif()

include(CPack)
