# What `cmake --install` puts down: libraries, headers, program, pkg-config files and the CMake package. None of it
# holds the prefix as an absolute path, so the whole tree can be moved.

include(CMakePackageConfigHelpers)

set(installed_targets)
foreach(library IN ITEMS talvo_util talvo_crypto talvo_xml)
  if(TARGET ${library})
    list(APPEND installed_targets ${library})
    set_target_properties(${library} PROPERTIES INSTALL_RPATH "$ORIGIN")
  endif()
endforeach()
if(NOT TARGET talvo_xml OR NOT TARGET talvo_crypto OR NOT TARGET talvo_util)
  return()
endif()

install(TARGETS ${installed_targets} EXPORT TalvoXmlTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/talvo_util.h include/talvo_crypto.h include/talvo_xml.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET talvo-xml)
  install(TARGETS talvo-xml RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# talvo_pkgconfig(name description required-package ...)
function(talvo_pkgconfig name description)
  list(JOIN ARGN ", " requires)
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
             OUTPUT_VARIABLE libdir)
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
             OUTPUT_VARIABLE up)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc @ONLY CONTENT [[
prefix=${pcfiledir}/@up@
libdir=${prefix}/@libdir@
includedir=${prefix}/@CMAKE_INSTALL_INCLUDEDIR@

Name: @name@
Description: @description@
Version: @PROJECT_VERSION@
Requires: @requires@
Libs: -L${libdir} -l@name@
Cflags: -I${includedir}
]])
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

talvo_pkgconfig(talvo_util "Strings, lists, bytes, time and JSON of the talvo libraries")
talvo_pkgconfig(talvo_crypto "Keys, certificates, digests and signatures of the talvo libraries" talvo_util)
talvo_pkgconfig(talvo_xml "XML documents, XML Signature and XAdES" talvo_crypto talvo_util)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/TalvoXml)
install(EXPORT TalvoXmlTargets NAMESPACE TalvoXml:: DESTINATION ${package_dir})
configure_package_config_file(cmake/TalvoXmlConfig.cmake.in ${PROJECT_BINARY_DIR}/TalvoXmlConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TalvoXmlConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TalvoXmlConfig.cmake ${PROJECT_BINARY_DIR}/TalvoXmlConfigVersion.cmake
        DESTINATION ${package_dir})
