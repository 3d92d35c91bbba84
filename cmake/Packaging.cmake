# `cmake --install` and the Debian package: the two libraries, the public headers and the tools.
install(TARGETS kelvane_eis_ap eis_huefuse_acore LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvane_eis_ap FILES_MATCHING
    PATTERN "*.h" PATTERN "st_*.h" EXCLUDE)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libkelvane-eis-ap)
set(CPACK_PACKAGE_CONTACT "libkelvane_eis_ap developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Multi-frame noise reduction and stabilisation on the application cores")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/lib)
include(CPack)
