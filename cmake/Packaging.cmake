# `cmake --install`: the shared library, its development files, the tools, each as a component of its own.
#
# The library loads its sibling libeis_huefuse_acore. On a phone that comes with the vendor image; here its stand-in lies in
# a folder of the library's own, found by RUNPATH, where no other program looks.
include(CMakePackageConfigHelpers)
set(_headers ${CMAKE_INSTALL_INCLUDEDIR}/kelvane_eis_ap)
set(_config ${CMAKE_INSTALL_LIBDIR}/cmake/kelvane_eis_ap)
set(_peer ${CMAKE_INSTALL_LIBDIR}/kelvane_eis_ap)
file(RELATIVE_PATH _peer_from_tools /${CMAKE_INSTALL_BINDIR} /${_peer})
file(RELATIVE_PATH _library_from_tools /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})

install(TARGETS kelvane_eis_ap EXPORT kelvane_eis_ap LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT library NAMELINK_COMPONENT development)
install(TARGETS eis_huefuse_acore EXPORT kelvane_eis_ap LIBRARY DESTINATION ${_peer} COMPONENT library)
set_target_properties(kelvane_eis_ap PROPERTIES INSTALL_RPATH "$ORIGIN/kelvane_eis_ap")
if(TARGET eis_image_codecs)
    install(TARGETS eis_image_codecs LIBRARY DESTINATION ${_peer} COMPONENT tools)
endif()
foreach(_tool eis-host eis-lab)
    if(TARGET ${_tool})
        set_target_properties(${_tool} PROPERTIES
            INSTALL_RPATH "$ORIGIN/${_library_from_tools};$ORIGIN/${_peer_from_tools}")
    endif()
endforeach()

install(DIRECTORY include/ DESTINATION ${_headers} COMPONENT development FILES_MATCHING
    PATTERN "*.h" PATTERN "st_*.h" EXCLUDE)
install(EXPORT kelvane_eis_ap NAMESPACE kelvane:: DESTINATION ${_config} COMPONENT development
    FILE kelvane_eis_ap-config.cmake)
write_basic_package_version_file(kelvane_eis_ap-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/kelvane_eis_ap-config-version.cmake DESTINATION ${_config} COMPONENT development)
file(RELATIVE_PATH EIS_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/kelvane_eis_ap.pc.in kelvane_eis_ap.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kelvane_eis_ap.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(FILES python/kelvane_eis_ap.py DESTINATION lib/python3/dist-packages COMPONENT tools)
