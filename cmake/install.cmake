# cmake --install: libraries, headers, the command line; for builds a pkg-config file and a CMake package
# (find_package(VexaFilter); link VexaFilter::VexaFilter); man page and completion. All of it may be moved.

include(GNUInstallDirs)
set(VEXA_INCLUDE ${CMAKE_INSTALL_INCLUDEDIR}/vexafilter)
set(VEXA_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/VexaFilter)

if(WIN32)
  set(VEXA_DIALOGS vexadlgs vexaview)
endif()
install(TARGETS vexafilter_library vexaimage vexafilter ${VEXA_DIALOGS}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/VexaFilter.h DESTINATION ${VEXA_INCLUDE})
file(RELATIVE_PATH VEXA_LIBRARIES_FROM_PROGRAMS
  ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH VEXA_PREFIX_FROM_PACKAGE ${CMAKE_INSTALL_FULL_LIBDIR}/cmake/VexaFilter
  ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH VEXA_PREFIX_FROM_PKGCONFIG ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
  ${CMAKE_INSTALL_PREFIX})
if(WIN32)
  install(FILES ${CMAKE_BINARY_DIR}/libVexaFilter.a ${CMAKE_BINARY_DIR}/VexaFilter.lib
    DESTINATION ${CMAKE_INSTALL_LIBDIR})
  set(VEXA_LOCATION ${CMAKE_INSTALL_BINDIR}/VexaFilter.dll)
  set(VEXA_IMPORT ${CMAKE_INSTALL_LIBDIR}/libVexaFilter.a)
else()
  set_target_properties(vexafilter PROPERTIES
    INSTALL_RPATH "$ORIGIN/${VEXA_LIBRARIES_FROM_PROGRAMS}")
  install(FILES platform/posix/windows.h platform/posix/commctrl.h platform/posix/headless.h
    DESTINATION ${VEXA_INCLUDE})
  set(VEXA_LOCATION ${CMAKE_INSTALL_LIBDIR}/libvexafilter.so)
  set(VEXA_IMPORT "")
  install(CODE "execute_process(COMMAND ${CMAKE_SOURCE_DIR}/scripts/make-manual
    ${CMAKE_BINARY_DIR}/vexafilter \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/share
    COMMAND_ERROR_IS_FATAL ANY)")
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/vexafilter.pc @ONLY CONTENT
"libdir=\${pcfiledir}/..
includedir=\${pcfiledir}/@VEXA_PREFIX_FROM_PKGCONFIG@/@VEXA_INCLUDE@

Name: VexaFilter
Description: Image filters on packed device-independent bitmaps
Version: @PROJECT_VERSION@
Cflags: -I\${includedir}
Libs: -L\${libdir} -lvexafilter
")
  install(FILES ${CMAKE_BINARY_DIR}/vexafilter.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()

file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/VexaFilterConfig.cmake @ONLY CONTENT
"get_filename_component(VEXA_PREFIX \"\${CMAKE_CURRENT_LIST_DIR}/@VEXA_PREFIX_FROM_PACKAGE@\" ABSOLUTE)
if(NOT TARGET VexaFilter::VexaFilter)
  add_library(VexaFilter::VexaFilter SHARED IMPORTED)
  set_target_properties(VexaFilter::VexaFilter PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES \"\${VEXA_PREFIX}/@VEXA_INCLUDE@\"
    IMPORTED_LOCATION \"\${VEXA_PREFIX}/@VEXA_LOCATION@\")
  if(NOT \"@VEXA_IMPORT@\" STREQUAL \"\")
    set_target_properties(VexaFilter::VexaFilter PROPERTIES
      IMPORTED_IMPLIB \"\${VEXA_PREFIX}/@VEXA_IMPORT@\")
  endif()
endif()
")
include(CMakePackageConfigHelpers)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/VexaFilterConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/VexaFilterConfig.cmake
  ${CMAKE_BINARY_DIR}/VexaFilterConfigVersion.cmake DESTINATION ${VEXA_PACKAGE})
