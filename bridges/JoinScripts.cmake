# A shell reads one file of a bridge: target `name` joins `sources` to `output`.
function(kestrum_join_scripts name output)
    list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ OUTPUT_VARIABLE sources)
    add_custom_command(OUTPUT ${output}
        COMMAND sed "1!{/SPDX-License-Identifier/d}" ${sources} > ${output}
        DEPENDS ${sources} VERBATIM)
    add_custom_target(${name} ALL DEPENDS ${output})
endfunction()
