# veltrand_embed_files(<target> SYMBOL <identifier> FILES <file>...)
#
# Embeds files byte for byte with .incbin and gives the target a header "<identifier>.h" that declares
#   extern "C" const EmbeddedFile <identifier>[];  extern "C" const std::size_t <identifier>Count;
# where each entry holds the file's name without its folder, its first byte and its size. A change of any
# file rebuilds the table.
function(veltrand_embed_files target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "SYMBOL" "FILES")
    set(out ${CMAKE_CURRENT_BINARY_DIR}/embedded)
    set(data "    .section .rodata\n")
    set(table "    .section .data.rel.ro,\"aw\"\n    .balign 8\n    .hidden ${arg_SYMBOL}\n    .global ${arg_SYMBOL}\n${arg_SYMBOL}:\n")
    set(index 0)
    foreach(file IN LISTS arg_FILES)
        get_filename_component(path ${file} ABSOLUTE)
        get_filename_component(name ${file} NAME)
        list(APPEND paths ${path})
        string(APPEND data
            "    .balign 16\n.Ldata${index}:\n    .incbin \"${path}\"\n.Lend${index}:\n    .byte 0\n"
            ".Lname${index}:\n    .asciz \"${name}\"\n")
        string(APPEND table "    .quad .Lname${index}, .Ldata${index}, .Lend${index} - .Ldata${index}\n")
        math(EXPR index "${index} + 1")
    endforeach()
    set(count "    .section .rodata\n    .balign 8\n    .hidden ${arg_SYMBOL}Count\n    .global ${arg_SYMBOL}Count\n${arg_SYMBOL}Count:\n    .quad ${index}\n    .section .note.GNU-stack,\"\",@progbits\n")
    file(CONFIGURE OUTPUT ${out}/${arg_SYMBOL}.S CONTENT "${data}${table}${count}" @ONLY)
    file(CONFIGURE OUTPUT ${out}/${arg_SYMBOL}.h CONTENT [[
#pragma once

#include <cstddef>

#ifndef VELTRAND_EMBEDDED_FILE
#define VELTRAND_EMBEDDED_FILE
struct EmbeddedFile {
    const char* name;
    const unsigned char* data;
    std::size_t size;
};
#endif

extern "C" {
extern const EmbeddedFile @arg_SYMBOL@[] __attribute__((visibility("hidden")));
extern const std::size_t @arg_SYMBOL@Count __attribute__((visibility("hidden")));
}
]] @ONLY)
    set_property(SOURCE ${out}/${arg_SYMBOL}.S APPEND PROPERTY OBJECT_DEPENDS "${paths}")
    target_sources(${target} PRIVATE ${out}/${arg_SYMBOL}.S)
    target_include_directories(${target} PRIVATE ${out})
endfunction()
