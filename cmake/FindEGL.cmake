# EGL alone: CMake's OpenGL module asks for desktop OpenGL beside it, which a phone does not have.
find_library(EGL_LIBRARY NAMES EGL)
find_path(EGL_INCLUDE_DIR NAMES EGL/egl.h)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(EGL REQUIRED_VARS EGL_LIBRARY EGL_INCLUDE_DIR)
if(EGL_FOUND AND NOT TARGET EGL::EGL)
    add_library(EGL::EGL UNKNOWN IMPORTED)
    set_target_properties(EGL::EGL PROPERTIES
        IMPORTED_LOCATION ${EGL_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${EGL_INCLUDE_DIR})
endif()
