# eis_compile_by_room(TARGET SOURCE...): compiles the sources of a folder at once, as headers and what their templates come
# to are most of the work. A kernel that includes itself once a vector unit stands alone.
function(eis_compile_by_room target)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    foreach(_source IN LISTS ARGN)
        file(STRINGS ${_source} _kernel REGEX "^#define HWY_TARGET_INCLUDE")
        if(NOT _kernel)
            cmake_path(GET _source PARENT_PATH _room)
            cmake_path(RELATIVE_PATH _room BASE_DIRECTORY ${CMAKE_SOURCE_DIR})
            string(REPLACE "/" "_" _room ${_room})
            set_source_files_properties(${_source} PROPERTIES UNITY_GROUP ${_room})
        endif()
    endforeach()
endfunction()
