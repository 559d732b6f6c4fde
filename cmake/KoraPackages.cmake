# The Debian packages that `cpack` makes in a build of preset "packages" (script/packages): the
# library, its headers, the command, and the bindings of Python and Java.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kora)
set(CPACK_PACKAGE_CONTACT "The Kora team <kora@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENTS_ALL libkora1 libkora-dev)
set(version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

# kora_package(NAME SECTION SUMMARY DESCRIPTION)
macro(kora_package name section summary text)
  string(TOUPPER ${name} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${text}")
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${text}")
endmacro()

set(about "Kora translates text with phrase-based models: offline, in a few
milliseconds a sentence, and with the same result everywhere.")
kora_package(libkora1 libs "offline translation engine - library" "${about}\nThis package has the shared libraries.")
kora_package(libkora-dev libdevel "offline translation engine - headers" "${about}\nThis package has what programs in C and C++ are built with.")
kora_package(kora text "offline translation engine - command" "${about}\nThis package has the command that translates, explains, and makes models.")
kora_package(python3-kora python "offline translation engine - Python binding" "${about}\nThis package has the module for Python 3.")
kora_package(libkora-java java "offline translation engine - Java binding" "${about}\nThis package has the classes for Java.")

# Programs that link the library depend on a release that has their names.
set(folder ${CMAKE_BINARY_DIR}/packaging)
file(CONFIGURE OUTPUT ${folder}/shlibs CONTENT
     "libtranslator_jni ${PROJECT_VERSION_MAJOR} libkora1 (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_LIBKORA1_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers
                                                ${folder}/shlibs)
set(CPACK_DEBIAN_KORA_PACKAGE_DEPENDS "libkora1 (= ${version})")  # liblexicut
set(CPACK_DEBIAN_LIBKORA-DEV_PACKAGE_DEPENDS "libkora1 (= ${version})")
set(CPACK_DEBIAN_KORA_PACKAGE_RECOMMENDS "bash-completion")
if(TARGET kora)
  list(APPEND CPACK_COMPONENTS_ALL kora)
endif()

if(EXISTS ${PROJECT_SOURCE_DIR}/bindings/python/kora/__init__.py)
  list(APPEND CPACK_COMPONENTS_ALL python3-kora)
  set(CPACK_DEBIAN_PYTHON3-KORA_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_PYTHON3-KORA_PACKAGE_DEPENDS "python3 (>= 3.9), libkora1 (>= ${PROJECT_VERSION})")
  if(KORA_PACKAGES)
    install(DIRECTORY bindings/python/kora DESTINATION /usr/lib/python3/dist-packages
            COMPONENT python3-kora PATTERN __pycache__ EXCLUDE)
  endif()
endif()

if(TARGET kora_jar)
  list(APPEND CPACK_COMPONENTS_ALL libkora-java)
  set(CPACK_DEBIAN_LIBKORA-JAVA_PACKAGE_DEPENDS "libkora1 (= ${version})")
  set(CPACK_DEBIAN_LIBKORA-JAVA_PACKAGE_SUGGESTS "default-jre-headless")
  if(KORA_PACKAGES)
    # Where Debian's Java looks for libraries by itself.
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/jni)
    file(CREATE_LINK ../libtranslator_jni.so.${PROJECT_VERSION_MAJOR}
         ${CMAKE_BINARY_DIR}/jni/libtranslator_jni.so SYMBOLIC)
    install(FILES ${CMAKE_BINARY_DIR}/jni/libtranslator_jni.so
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/jni COMPONENT libkora-java)
  endif()
endif()

# What Debian wants of every package: copyright, change log, compressed pages, overrides with reasons.
if(KORA_PACKAGES)
  configure_file(packaging/changelog ${folder}/changelog.Debian COPYONLY)
  execute_process(COMMAND gzip -9nf ${folder}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
  foreach(component ${CPACK_COMPONENTS_ALL})
    install(FILES packaging/copyright ${folder}/changelog.Debian.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${component} COMPONENT ${component})
    if(EXISTS ${PROJECT_SOURCE_DIR}/packaging/${component}.overrides)
      install(FILES packaging/${component}.overrides
              DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${component}
              COMPONENT ${component})
    endif()
  endforeach()
  file(GLOB pages docs/*.md)
  install(FILES README.md ${pages} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kora COMPONENT kora)
  install(CODE "file(GLOB pages \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/share/man/man[15]/*.[15]\")
                if(pages)
                  execute_process(COMMAND gzip -9nf \${pages} COMMAND_ERROR_IS_FATAL ANY)
                endif()" COMPONENT kora)
endif()
include(CPack)
