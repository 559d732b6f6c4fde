# What `cmake --install` puts where, the package that find_package(kora) finds and the pkg-config
# file. Every rule belongs to a component, which KoraPackages.cmake makes a Debian package of.
include(CMakePackageConfigHelpers)

set(library libkora1)
install(TARGETS translator_jni EXPORT kora
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${library}
                NAMELINK_COMPONENT libkora-dev
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${library}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libkora-dev)
install(TARGETS lexicut EXPORT kora
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${library}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${library}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libkora-dev)
install(DIRECTORY engine/include/kora DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        COMPONENT libkora-dev)
install(FILES lexicut/lexicut.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/lexicut
        COMPONENT libkora-dev)
if(TARGET kora)
  install(TARGETS kora RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT kora)
  install(DIRECTORY data/rules DESTINATION ${CMAKE_INSTALL_DATADIR}/kora COMPONENT kora)
endif()

# find_package(kora): targets kora::kora and kora::lexicut
set_target_properties(translator_jni PROPERTIES EXPORT_NAME kora)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kora)
install(EXPORT kora NAMESPACE kora:: FILE koraConfig.cmake DESTINATION ${package_dir}
        COMPONENT libkora-dev)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/koraConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/koraConfigVersion.cmake DESTINATION ${package_dir}
        COMPONENT libkora-dev)

file(RELATIVE_PATH KORA_PC_UP /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
configure_file(cmake/kora.pc.in ${CMAKE_BINARY_DIR}/kora.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kora.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT libkora-dev)

# Projects that build Kora with their own say kora::kora too.
add_library(kora::kora ALIAS translator_jni)
add_library(kora::lexicut ALIAS lexicut)

if(PROJECT_IS_TOP_LEVEL)
  include(KoraPackages)
endif()
