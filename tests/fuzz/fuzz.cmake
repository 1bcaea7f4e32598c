# Fuzz targets, one per group of families (clang, the fuzz preset); see tests/README.md. The parts
# of the library are linked straight in, as the level of the processor is chosen from inside.

foreach(group effects frequency morphology neighbourhood statistics point tonal)
  add_executable(${group}_fuzz
    tests/fuzz/${group}_fuzz.cpp tests/fuzz/fuzz_host.cpp tests/fuzz/fuzz_masks.cpp platform/posix/attach.cpp)
  target_compile_definitions(${group}_fuzz PRIVATE VEXA_MODULE_NAME="VexaFilter.dll")
  target_link_libraries(${group}_fuzz PRIVATE ${VEXA_PARTS} ${VEXA_KERNELS} vexaposix vexa_flags)
  target_compile_options(${group}_fuzz PRIVATE -fsanitize=fuzzer)
  target_link_options(${group}_fuzz PRIVATE -fsanitize=fuzzer)
endforeach()
# Beside vexaposix, which loads it.
add_custom_command(TARGET effects_fuzz POST_BUILD
  COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:vexaimage> ${CMAKE_BINARY_DIR}/tests/$<TARGET_FILE_NAME:vexaimage>
  VERBATIM)
add_dependencies(effects_fuzz vexaimage)
# The sanitizers' run-time library is in the program, not in the shared libraries.
target_link_options(vexafilter_library PRIVATE -Wl,-z,undefs)
# It is unloaded after each call, and counters with it: it has none.
target_compile_options(vexaimage PRIVATE -fno-sanitize=all)
target_link_options(vexaimage PRIVATE -fno-sanitize=all)
