# What `cmake --install` puts where, the package that find_package(kora) finds, the
# pkg-config file, and the Debian package that `cpack` makes of all of it.
include(CMakePackageConfigHelpers)

install(TARGETS translator_jni lexicut EXPORT kora
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY engine/include/kora DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES lexicut/lexicut.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/lexicut)
if(TARGET kora)
  install(TARGETS kora RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# find_package(kora): targets kora::kora and kora::lexicut
set_target_properties(translator_jni PROPERTIES EXPORT_NAME kora)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kora)
install(EXPORT kora NAMESPACE kora:: FILE koraConfig.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/koraConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/koraConfigVersion.cmake DESTINATION ${package_dir})

file(RELATIVE_PATH KORA_PC_UP /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
configure_file(cmake/kora.pc.in ${CMAKE_BINARY_DIR}/kora.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kora.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kora)
set(CPACK_PACKAGE_CONTACT "The Kora team <kora@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Offline translation engine, its headers and its tools")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/lib)
include(CPack)
