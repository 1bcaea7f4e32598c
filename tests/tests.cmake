# The tests: the same programs natively and, through Wine, against the DLL. See tests/README.md.

add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
foreach(target gtest gtest_main)
  # As our own sources, so that both see the same headers; without our warnings.
  target_compile_options(${target} PRIVATE -w -fno-exceptions -fno-rtti)
endforeach()

# A test program and its registration. ctest runs it in its own folder.
function(vexa_add_tests name)
  add_executable(${name} ${ARGN})
  add_dependencies(${name} vexa_tests_image)
  target_include_directories(${name} PRIVATE tests)
  target_link_libraries(${name} PRIVATE vexa_flags)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()

# What the tested library loads, beside it.
set(VEXA_TESTED_IMAGE ${CMAKE_BINARY_DIR}/tests/$<TARGET_FILE_NAME:vexaimage>)
add_custom_target(vexa_tests_image ALL
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/tests
  COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:vexaimage> ${VEXA_TESTED_IMAGE}
  DEPENDS vexaimage VERBATIM)

# The library as a host sees it.
vexa_add_tests(vexafilter_tests
  tests/host.cpp
  tests/picture.cpp
  tests/window_calls.cpp
  tests/reference/reference.cpp
  tests/reference/frequency.cpp
  tests/reference/effects.cpp
  tests/reference/histogram.cpp
  tests/reference/morphology.cpp
  tests/reference/rank.cpp
  tests/reference/tonal.cpp
  tests/reference/windows.cpp
  tests/display_test.cpp
  tests/effects_test.cpp
  tests/exports_test.cpp
  tests/frame_test.cpp
  tests/convert_test.cpp
  tests/convolution_test.cpp
  tests/point_test.cpp
  tests/tonal_test.cpp
  tests/frequency_test.cpp
  tests/histogram_test.cpp
  tests/mean_test.cpp
  tests/morphology_test.cpp
  tests/redeye_test.cpp
  tests/rank_test.cpp)
target_link_libraries(vexafilter_tests PRIVATE vexafilter_tested gtest
  point_kernels_sse2 point_kernels_avx2)
if(WIN32)
  target_sources(vexafilter_tests PRIVATE tests/host_win32.cpp tests/win32_test.cpp)
  add_library(vexa_dialogs_stub MODULE tests/dialogs_stub.cpp tests/dialogs_stub.def)
  target_link_libraries(vexa_dialogs_stub PRIVATE vexa_flags)
  set_target_properties(vexa_dialogs_stub PROPERTIES PREFIX "" OUTPUT_NAME VexaDlgsStub
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  add_dependencies(vexafilter_tests vexa_dialogs_stub)
  # Away from the real VexaDlgs.dll.
  add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/tests/VexaFilter.dll
    COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:vexafilter_library>
      ${CMAKE_BINARY_DIR}/tests/VexaFilter.dll
    DEPENDS vexafilter_library VERBATIM)
  add_custom_target(vexa_tests_dll ALL
    DEPENDS ${CMAKE_BINARY_DIR}/tests/VexaFilter.dll)
else()
  target_sources(vexafilter_tests PRIVATE tests/host_posix.cpp)
  target_link_libraries(vexafilter_tests PRIVATE vexaposix)
endif()

# The library's parts, linked straight in.
vexa_add_tests(vexafilter_internal_tests
  tests/internal_test.cpp
  tests/effect_parts_test.cpp
  tests/fourier_test.cpp
  tests/levels_test.cpp
  tests/mean_levels_test.cpp
  tests/rank_kernels_test.cpp
  tests/reference/effects.cpp
  tests/reference/frequency.cpp
  tests/reference/rank.cpp
  tests/picture.cpp
  tests/reference/reference.cpp)
target_link_libraries(vexafilter_internal_tests PRIVATE gtest ${VEXA_PARTS} ${VEXA_KERNELS})
if(WIN32)
  target_sources(vexafilter_internal_tests PRIVATE
    platform/win32/clock.cpp platform/win32/workmemory.cpp library/VexaFilter.rc)
  target_link_libraries(vexafilter_internal_tests PRIVATE comctl32)
else()
  target_link_libraries(vexafilter_internal_tests PRIVATE vexaposix)
endif()

# The hosts: picture files and the command line, in-process.
vexa_add_tests(vexafilter_host_tests tests/cli_test.cpp tests/imagefile_test.cpp)
target_link_libraries(vexafilter_host_tests PRIVATE vexa_hosts vexa_catalogue vexafilter_tested gtest gtest_main)
if(WIN32)
  add_dependencies(vexafilter_host_tests vexa_tests_dll)
else()
  target_sources(vexafilter_host_tests PRIVATE tests/catalogue_test.cpp)
  target_link_libraries(vexafilter_host_tests PRIVATE vexaposix)
endif()

# The real dialogs, beside the real library.
if(WIN32)
  add_executable(vexafilter_dialog_tests tests/dialogs_test.cpp tests/shots.cpp
    companions/dialogs/bindings.cpp companions/dialogs/fields.cpp companions/dialogs/grid.cpp)
  target_link_libraries(vexafilter_dialog_tests
    PRIVATE vexa_flags vexa_hosts vexa_catalogue vexafilter_import gtest gtest_main comctl32)
  add_dependencies(vexafilter_dialog_tests vexadlgs)
  add_test(NAME vexafilter_dialog_tests COMMAND vexafilter_dialog_tests)
  set_tests_properties(vexafilter_dialog_tests PROPERTIES TIMEOUT 600)
  # The viewer, from another program.
  add_executable(vexafilter_viewer_tests tests/viewer_test.cpp tests/shots.cpp)
  target_compile_definitions(vexafilter_viewer_tests
    PRIVATE VEXA_SCENE="${CMAKE_SOURCE_DIR}/docs/pictures/scene.png")
  target_link_libraries(vexafilter_viewer_tests
    PRIVATE vexa_flags vexa_hosts vexa_catalogue vexafilter_import gtest gtest_main)
  add_dependencies(vexafilter_viewer_tests vexaview vexafilter)
  add_test(NAME vexafilter_viewer_tests COMMAND vexafilter_viewer_tests)
  set_tests_properties(vexafilter_viewer_tests PROPERTIES TIMEOUT 600)
endif()

# The public header compiles alone, in both languages.
foreach(language c c++)
  set(compiler ${CMAKE_C_COMPILER} -std=c99)
  if(language STREQUAL c++)
    set(compiler ${CMAKE_CXX_COMPILER} -std=c++11)
  endif()
  if(NOT WIN32)
    list(APPEND compiler -I ${CMAKE_SOURCE_DIR}/platform/posix)
  endif()
  add_test(NAME public_header_${language} COMMAND ${compiler} -x ${language} -Wall -Wextra -Wpedantic
    -Werror -fsyntax-only ${CMAKE_SOURCE_DIR}/include/VexaFilter.h)
endforeach()

# Not with the sanitizers' own library in it.
if(NOT WIN32 AND NOT CMAKE_CXX_FLAGS MATCHES sanitize)
  add_test(NAME so COMMAND ${CMAKE_SOURCE_DIR}/scripts/check-so ${CMAKE_BINARY_DIR})
endif()
if(WIN32)
  add_test(NAME dll COMMAND ${CMAKE_SOURCE_DIR}/scripts/check-dll ${CMAKE_BINARY_DIR})
endif()
