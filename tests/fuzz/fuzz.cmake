# Fuzz targets, one per family (clang, the fuzz preset): build/fuzz/neighbourhood_fuzz -runs=100000

add_executable(neighbourhood_fuzz tests/fuzz/neighbourhood_fuzz.cpp)
target_link_libraries(neighbourhood_fuzz PRIVATE vexafilter_import vexaposix vexa_flags)
target_compile_options(neighbourhood_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(neighbourhood_fuzz PRIVATE -fsanitize=fuzzer)
# The sanitizers' run-time library is in the program, not in the shared libraries.
target_link_options(vexafilter_library PRIVATE -Wl,-z,undefs)
