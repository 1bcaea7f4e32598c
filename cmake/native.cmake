# The Linux side: the Win32 calls that the library uses, and the shared library over them.

find_package(Threads REQUIRED)

add_library(vexaposix SHARED
  platform/posix/blocks.cpp
  platform/posix/clock.cpp
  platform/posix/memory.cpp
  platform/posix/modules.cpp
  platform/posix/testing.cpp
  platform/posix/threads.cpp
  platform/posix/windows.cpp
  platform/posix/workmemory.cpp)
target_compile_options(vexaposix PRIVATE -fvisibility=hidden)
# Bare names are looked for beside it.
set_target_properties(vexaposix PROPERTIES BUILD_RPATH "$ORIGIN" INSTALL_RPATH "$ORIGIN")
target_link_libraries(vexaposix PRIVATE vexa_flags Threads::Threads ${CMAKE_DL_LIBS})

# The same list of exports as the DLL's.
file(STRINGS ${CMAKE_SOURCE_DIR}/library/VexaFilter.def VEXA_EXPORTS REGEX "^    [A-Za-z0-9]+$")
list(TRANSFORM VEXA_EXPORTS STRIP)
list(JOIN VEXA_EXPORTS "; " VEXA_EXPORT_LIST)
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/vexafilter.map
  CONTENT "{ global: @VEXA_EXPORT_LIST@; local: *; };\n" @ONLY)

target_sources(vexafilter_library PRIVATE platform/posix/attach.cpp)
target_compile_definitions(vexafilter_library PRIVATE VEXA_MODULE_NAME="VexaFilter.dll")
target_link_libraries(vexafilter_library PUBLIC vexaposix)
target_link_options(vexafilter_library PRIVATE
  -Wl,--version-script=${CMAKE_BINARY_DIR}/vexafilter.map -Wl,--no-undefined)
set_target_properties(vexafilter_library PROPERTIES
  LINK_DEPENDS "${CMAKE_BINARY_DIR}/vexafilter.map")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS library/VexaFilter.def)

# What a host links.
add_library(vexafilter_import ALIAS vexafilter_library)
