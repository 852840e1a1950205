# The OpenGL entry points, generated at build time and compiled hidden: an exported loader would be
# overwritten by an application's own.
find_program(GLAD_PROGRAM glad REQUIRED)

set(glad_dir ${PROJECT_BINARY_DIR}/glad)
add_custom_command(
    OUTPUT ${glad_dir}/src/gl.c ${glad_dir}/include/glad/gl.h
    COMMAND ${GLAD_PROGRAM} --api gl:core=4.6
            --extensions GL_NVX_gpu_memory_info,GL_ATI_meminfo,GL_KHR_debug
            --reproducible --quiet --out-path ${glad_dir} c
    COMMENT "Generating the OpenGL loader"
    VERBATIM)
add_custom_target(GladGenerate DEPENDS ${glad_dir}/src/gl.c)
set(glad_source ${PROJECT_SOURCE_DIR}/Veltrand/GL/detail/Glad.c)
set_source_files_properties(${glad_source} PROPERTIES OBJECT_DEPENDS ${glad_dir}/src/gl.c)
add_library(Glad OBJECT ${glad_source})
add_dependencies(Glad GladGenerate)
target_include_directories(Glad SYSTEM PUBLIC ${glad_dir}/include PRIVATE ${glad_dir} ${PROJECT_SOURCE_DIR})
