# libbacktrace, which turns addresses into functions, files and lines. GCC ships it in a folder of its own that
# clang also knows. That folder holds GCC's versions of the compiler's headers too, so the two headers wanted
# are copied out of it.
execute_process(
    COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libbacktrace.a
    OUTPUT_VARIABLE libbacktrace_file
    OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(libbacktrace_dir "${libbacktrace_file}" DIRECTORY)
find_library(LIBBACKTRACE_LIBRARY NAMES libbacktrace.a backtrace HINTS ${libbacktrace_dir} REQUIRED)
find_path(LIBBACKTRACE_INCLUDE_DIR backtrace.h HINTS ${libbacktrace_dir}/include REQUIRED)

foreach(header backtrace.h backtrace-supported.h)
    configure_file(${LIBBACKTRACE_INCLUDE_DIR}/${header} ${PROJECT_BINARY_DIR}/libbacktrace/${header} COPYONLY)
endforeach()
add_library(Libbacktrace INTERFACE)
target_include_directories(Libbacktrace SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/libbacktrace)
target_link_libraries(Libbacktrace INTERFACE ${LIBBACKTRACE_LIBRARY} ${CMAKE_DL_LIBS})
