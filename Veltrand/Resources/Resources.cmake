# Gives VeltrandGLObjects its repositories: the shaders of the tree, enciphered, and the fonts of the system,
# compressed. Included where that target is made, because what an object depends on is known by directory.

add_executable(veltrand-pack-resource ${CMAKE_CURRENT_LIST_DIR}/tools/PackResource.cpp)
target_link_libraries(veltrand-pack-resource PRIVATE VeltrandOptions VeltrandCore)

find_path(VELTRAND_DEJAVU_FONTS DejaVuSans-BoldOblique.ttf
    PATHS /usr/share/fonts/truetype/dejavu /usr/share/fonts/dejavu /usr/share/fonts/TTF
    NO_DEFAULT_PATH REQUIRED
    DOC "Folder of the DejaVu fonts (Debian packages fonts-dejavu-core and fonts-dejavu-extra)")

# veltrand_pack_resource(<operation> <input> <output>): one payload, made again when its file changes.
function(veltrand_pack_resource operation input output)
    add_custom_command(OUTPUT ${output}
        COMMAND veltrand-pack-resource ${operation} ${input} ${output}
        DEPENDS ${input} veltrand-pack-resource
        COMMENT "Packing ${output}"
        VERBATIM)
endfunction()

set(shaders
    FixedFunctionPipeline.frag
    FixedFunctionPipeline.geom
    FixedFunctionPipeline.vert
    LineLengthAccumulation.glh
    LineRenderer.frag
    LineRenderer.vert
    ObjectPicking.glh
    OffscreenRenderHelper.frag
    OrderIndependentTransparency.glh
    OrderIndependentTransparencyBlend.frag
    ImageProgram.geom
    ImageProgram.vert
    WideLines.glh
    FontAtlas.frag
    FontAtlas.vert
)
set(payloads ${CMAKE_CURRENT_BINARY_DIR}/payloads)
file(MAKE_DIRECTORY ${payloads})
foreach(shader IN LISTS shaders)
    veltrand_pack_resource(encipher ${CMAKE_CURRENT_LIST_DIR}/VeltrandGL/${shader} ${payloads}/${shader})
    list(APPEND shader_payloads ${payloads}/${shader})
endforeach()

# The family calls its slanted styles oblique and its upright one nothing.
set(fonts
    DejaVuSans.ttf DejaVuSans-Regular.ttf
    DejaVuSans-Bold.ttf DejaVuSans-Bold.ttf
    DejaVuSans-BoldOblique.ttf DejaVuSans-BoldItalic.ttf
    DejaVuSans-Oblique.ttf DejaVuSans-Italic.ttf
)
while(fonts)
    list(POP_FRONT fonts file name)
    veltrand_pack_resource(compress ${VELTRAND_DEJAVU_FONTS}/${file} ${payloads}/${name})
    list(APPEND font_payloads ${payloads}/${name})
endwhile()

# The fonts register first: objects are initialised in the order in which they are linked.
target_sources(VeltrandGLObjects PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/VeltrandGLFonts/VeltrandGLFontsRepository.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VeltrandGL/VeltrandGLRepository.cpp
    ${font_payloads}
    ${shader_payloads}
)
veltrand_embed_files(VeltrandGLObjects SYMBOL veltrandGLFonts FILES ${font_payloads})
veltrand_embed_files(VeltrandGLObjects SYMBOL veltrandGLShaders FILES ${shader_payloads})
