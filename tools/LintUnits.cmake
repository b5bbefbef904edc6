# What clang-tidy reads. Nearly all of its time goes into Qt's headers, so it is given a library's sources as one file, in which names
# at file scope have to differ.

# kestrum_lint_units(TARGET...): a unit of each target's sources, in build/…/lint. They are never built: only how they would be is of
# interest.
function(kestrum_lint_units)
    foreach(target ${ARGN})
        get_target_property(folder ${target} SOURCE_DIR)
        get_target_property(sources ${target} SOURCES)
        set(text)
        foreach(source ${sources})
            cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${folder})
            cmake_path(RELATIVE_PATH source BASE_DIRECTORY ${CMAKE_SOURCE_DIR})
            if(source MATCHES "\\.cpp$" AND NOT source MATCHES "^build/")
                string(APPEND text "#include \"${source}\"\n")
            endif()
        endforeach()
        set(unit ${CMAKE_BINARY_DIR}/lint/${target}.cpp)
        file(CONFIGURE OUTPUT ${unit} CONTENT "${text}" @ONLY)
        add_library(Lint${target} OBJECT EXCLUDE_FROM_ALL ${unit})
        set_target_properties(Lint${target} PROPERTIES AUTOMOC OFF UNITY_BUILD OFF)
        target_link_libraries(Lint${target} PRIVATE KestrumOptions $<TARGET_PROPERTY:${target},LINK_LIBRARIES>)
        target_compile_definitions(Lint${target} PRIVATE $<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>)
        target_include_directories(Lint${target} PRIVATE $<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>)
    endforeach()
endfunction()
