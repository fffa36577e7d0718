# cmake --install: the library (component library), the standalone platform services (platform), the command (command).
include(CMakePackageConfigHelpers)
set(QEL_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/qel-mcast)
set(QEL_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/qel-mcast)
set(QEL_PKGCONFIG ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Headers stand so that one include path finds them all, under the names by which they include each other.
foreach(FOLDER include platform ngmvpn mdt vpnv4mcast)
  file(GLOB QEL_FOLDER_HEADERS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${FOLDER}/*.h)
  set(QEL_FOLDER /${FOLDER})
  if(FOLDER STREQUAL include)
    set(QEL_FOLDER "")
  endif()
  install(FILES ${QEL_FOLDER_HEADERS} DESTINATION ${QEL_HEADERS}${QEL_FOLDER} COMPONENT library)
endforeach()
install(TARGETS qel_mcast qel_mcast_shared EXPORT qel-mcastTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
  INCLUDES DESTINATION ${QEL_HEADERS})
install(EXPORT qel-mcastTargets NAMESPACE qel-mcast:: DESTINATION ${QEL_PACKAGE} COMPONENT library)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/qel-mcastConfig.cmake.in ${CMAKE_BINARY_DIR}/package/qel-mcastConfig.cmake
  INSTALL_DESTINATION ${QEL_PACKAGE})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/qel-mcastConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/package/qel-mcastConfig.cmake ${CMAKE_BINARY_DIR}/package/qel-mcastConfigVersion.cmake
  DESTINATION ${QEL_PACKAGE} COMPONENT library)

file(RELATIVE_PATH QEL_PREFIX_FROM_PC ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" QEL_PREFIX_FROM_PC ${QEL_PREFIX_FROM_PC})
foreach(PC qel-mcast qel-mcast-platform)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${PC}.pc.in ${CMAKE_BINARY_DIR}/package/${PC}.pc @ONLY)
endforeach()
install(FILES ${CMAKE_BINARY_DIR}/package/qel-mcast.pc DESTINATION ${QEL_PKGCONFIG} COMPONENT library)

install(FILES ${CMAKE_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT library)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT library)

if(QEL_PLATFORM)
  install(FILES ${CMAKE_SOURCE_DIR}/host/platform/platform.h DESTINATION ${QEL_HEADERS}/host/platform COMPONENT platform)
  install(TARGETS qel_platform EXPORT qel-mcastPlatformTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT platform
    INCLUDES DESTINATION ${QEL_HEADERS})
  install(EXPORT qel-mcastPlatformTargets NAMESPACE qel-mcast:: DESTINATION ${QEL_PACKAGE} COMPONENT platform)
  install(FILES ${CMAKE_BINARY_DIR}/package/qel-mcast-platform.pc DESTINATION ${QEL_PKGCONFIG} COMPONENT platform)
endif()
if(QEL_COMMAND)
  install(TARGETS qel-mcast RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT command)
endif()
