# The Linux side: the library with the Win32 calls that it uses and that its hosts need, in one file.

find_package(Threads REQUIRED)

add_library(posix OBJECT
  platform/posix/bench_state.cpp
  platform/posix/blocks.cpp
  platform/posix/clock.cpp
  platform/posix/gdi.cpp
  platform/posix/memory.cpp
  platform/posix/modules.cpp
  platform/posix/threads.cpp
  platform/posix/windows.cpp
  platform/posix/workmemory.cpp)
target_compile_options(posix PRIVATE -fvisibility=hidden)
target_link_libraries(posix PRIVATE vexa_flags)

# The names of the exports: the DLL's, and of the Win32 calls what the headers declare.
file(STRINGS ${CMAKE_SOURCE_DIR}/library/VexaFilter.def VEXA_EXPORTS REGEX "^    [A-Za-z0-9]+$")
list(TRANSFORM VEXA_EXPORTS STRIP)
foreach(header windows.h commctrl.h headless.h)
  file(STRINGS ${CMAKE_SOURCE_DIR}/platform/posix/${header} VEXA_CALLS REGEX "^VEXAPOSIX_API .*[(]")
  list(TRANSFORM VEXA_CALLS REPLACE "^.*[ *]([A-Za-z0-9]+)[(].*$" "\\1")
  list(APPEND VEXA_EXPORTS ${VEXA_CALLS})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS platform/posix/${header})
endforeach()
list(JOIN VEXA_EXPORTS "; " VEXA_EXPORT_LIST)
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/vexafilter.map
  CONTENT "{ global: @VEXA_EXPORT_LIST@; local: *; };\n" @ONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS library/VexaFilter.def)

function(vexa_make_shared_library target)
  target_sources(${target} PRIVATE platform/posix/attach.cpp)
  target_compile_definitions(${target} PRIVATE VEXA_MODULE_NAME="VexaFilter.dll")
  target_link_options(${target} PRIVATE
    -Wl,--version-script=${CMAKE_BINARY_DIR}/vexafilter.map -Wl,--no-undefined)
  set_target_properties(${target} PROPERTIES
    LINK_DEPENDS "${CMAKE_BINARY_DIR}/vexafilter.map")
endfunction()

vexa_make_shared_library(vexafilter_library)
target_link_libraries(vexafilter_library PRIVATE posix Threads::Threads ${CMAKE_DL_LIBS})

# What a host links.
add_library(vexafilter_import ALIAS vexafilter_library)

# For the tests: the Win32 calls in a library of their own, with the test bench (testing.h), which can
# make them fail and counts what they do; and the library over that.
add_library(vexaposix SHARED EXCLUDE_FROM_ALL platform/posix/testing.cpp)
target_compile_options(vexaposix PRIVATE -fvisibility=hidden)
target_link_libraries(vexaposix PRIVATE posix vexa_flags Threads::Threads ${CMAKE_DL_LIBS})
add_library(vexafilter_tested SHARED EXCLUDE_FROM_ALL)
target_link_libraries(vexafilter_tested
  PRIVATE ${VEXA_PARTS} ${VEXA_KERNELS} vexa_flags
  PUBLIC vexaposix)
vexa_make_shared_library(vexafilter_tested)
set_target_properties(vexafilter_tested PROPERTIES OUTPUT_NAME vexafilter)
set_target_properties(vexaposix vexafilter_tested PROPERTIES
  LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
