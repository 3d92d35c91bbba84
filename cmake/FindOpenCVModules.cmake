# The OpenCV modules asked for as components, as imported targets OpenCV::core and so on. Debian's packages of single
# modules carry no CMake files; those are in the one package that pulls in everything.
find_path(OpenCVModules_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4)
foreach(_module IN LISTS OpenCVModules_FIND_COMPONENTS)
    find_library(OpenCVModules_${_module}_LIBRARY opencv_${_module})
    if(OpenCVModules_INCLUDE_DIR AND OpenCVModules_${_module}_LIBRARY)
        set(OpenCVModules_${_module}_FOUND TRUE)
        if(NOT TARGET OpenCV::${_module})
            add_library(OpenCV::${_module} UNKNOWN IMPORTED)
            set_target_properties(OpenCV::${_module} PROPERTIES
                IMPORTED_LOCATION "${OpenCVModules_${_module}_LIBRARY}"
                INTERFACE_INCLUDE_DIRECTORIES "${OpenCVModules_INCLUDE_DIR}")
        endif()
    endif()
    mark_as_advanced(OpenCVModules_${_module}_LIBRARY)
endforeach()
mark_as_advanced(OpenCVModules_INCLUDE_DIR)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OpenCVModules REQUIRED_VARS OpenCVModules_INCLUDE_DIR HANDLE_COMPONENTS)
