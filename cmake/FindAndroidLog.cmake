# The platform log: Debian keeps android-liblog below an 'android' folder, a vendor's sysroot at the top.
find_library(AndroidLog_LIBRARY NAMES log PATH_SUFFIXES android)
find_path(AndroidLog_INCLUDE_DIR NAMES android/log.h PATH_SUFFIXES android)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(AndroidLog REQUIRED_VARS AndroidLog_LIBRARY AndroidLog_INCLUDE_DIR)
if(AndroidLog_FOUND AND NOT TARGET AndroidLog::AndroidLog)
    add_library(AndroidLog::AndroidLog UNKNOWN IMPORTED)
    set_target_properties(AndroidLog::AndroidLog PROPERTIES
        IMPORTED_LOCATION ${AndroidLog_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${AndroidLog_INCLUDE_DIR})
endif()
