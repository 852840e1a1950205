# One interface target carries what every target of ours is compiled with, and no target of a user. The presets make
# warnings errors, not this file: a compiler that we have not met may warn of more.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# Programs and libraries of one build lie side by side, so that each finds its libraries without an install.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    # Precompiled headers carry time stamps that ccache has to be told to look past.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${CCACHE_PROGRAM})
    set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

add_library(VeltrandOptions INTERFACE)
target_compile_options(VeltrandOptions INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow
        -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wold-style-cast>)
target_include_directories(VeltrandOptions INTERFACE ${PROJECT_SOURCE_DIR})

if(CMAKE_CXX_COMPILER_ID MATCHES Clang AND CCACHE_PROGRAM)
    target_compile_options(VeltrandOptions INTERFACE $<$<COMPILE_LANGUAGE:CXX>:SHELL:-Xclang -fno-pch-timestamp>)
endif()

if(VELTRAND_SANITIZE)
    add_compile_options(-fsanitize=${VELTRAND_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VELTRAND_SANITIZE} -rdynamic)
    if(VELTRAND_SANITIZE MATCHES undefined)
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
endif()

# Restricts what a shared library exports to namespace Veltrand.
function(veltrand_limit_exports target)
    set(map ${PROJECT_SOURCE_DIR}/cmake/Exports.map)
    target_link_options(${target} PRIVATE -Wl,--version-script=${map})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()
