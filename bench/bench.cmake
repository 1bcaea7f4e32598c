# Benchmarks. README.md in this folder says how to run and read them.

add_library(bench_filters OBJECT bench/filters.cpp bench/pictures.cpp)
target_link_libraries(bench_filters PUBLIC vexa_flags)

# Whole calls in both builds: bench/wine-table compares them.
add_executable(win32_bench bench/win32_bench.cpp)
target_link_libraries(win32_bench PRIVATE bench_filters vexafilter_import)
if(WIN32)
  return()
endif()

add_executable(peak_memory bench/peak_memory.cpp)
target_link_libraries(peak_memory PRIVATE bench_filters vexafilter_tested)

find_package(benchmark REQUIRED)
find_path(OPENCV_INCLUDE opencv2/imgproc.hpp PATH_SUFFIXES opencv4 REQUIRED)
find_library(OPENCV_CORE opencv_core REQUIRED)
find_library(OPENCV_IMGPROC opencv_imgproc REQUIRED)

# The kernels are hidden in the library: their objects are linked beside it.
add_executable(convolution_bench bench/convolution_bench.cpp bench/harness.cpp
  bench/kernel_rows.cpp platform/cpu.cpp)
target_include_directories(convolution_bench SYSTEM PRIVATE ${OPENCV_INCLUDE})
target_link_libraries(convolution_bench PRIVATE bench_filters vexafilter_tested ${VEXA_KERNELS}
  ${OPENCV_IMGPROC} ${OPENCV_CORE} benchmark::benchmark)

add_executable(point_bench bench/point_bench.cpp bench/harness.cpp)
target_include_directories(point_bench SYSTEM PRIVATE ${OPENCV_INCLUDE})
target_link_libraries(point_bench PRIVATE bench_filters vexafilter_tested ${VEXA_KERNELS}
  ${OPENCV_IMGPROC} ${OPENCV_CORE} benchmark::benchmark)

foreach(family effects tonal histogram mean rank)
  add_executable(${family}_bench bench/${family}_bench.cpp bench/harness.cpp)
  target_include_directories(${family}_bench SYSTEM PRIVATE ${OPENCV_INCLUDE})
  target_link_libraries(${family}_bench PRIVATE bench_filters vexafilter_tested ${VEXA_KERNELS}
    ${OPENCV_IMGPROC} ${OPENCV_CORE} benchmark::benchmark)
endforeach()

# A 1-bit page has another peer.
find_path(LEPTONICA_INCLUDE allheaders.h PATH_SUFFIXES leptonica REQUIRED)
find_library(LEPTONICA NAMES lept leptonica REQUIRED)
add_executable(morphology_bench bench/morphology_bench.cpp bench/harness.cpp)
target_include_directories(morphology_bench SYSTEM PRIVATE ${OPENCV_INCLUDE} ${LEPTONICA_INCLUDE})
target_link_libraries(morphology_bench PRIVATE bench_filters vexafilter_tested ${VEXA_KERNELS}
  ${OPENCV_IMGPROC} ${OPENCV_CORE} ${LEPTONICA} benchmark::benchmark)

# The transforms are hidden in the library: its parts are linked straight in.
find_path(FFTW_INCLUDE fftw3.h REQUIRED)
find_library(FFTW NAMES fftw3 REQUIRED)
add_executable(frequency_bench bench/frequency_bench.cpp platform/posix/attach.cpp)
target_compile_definitions(frequency_bench PRIVATE VEXA_MODULE_NAME="VexaFilter.dll")
target_include_directories(frequency_bench SYSTEM PRIVATE ${OPENCV_INCLUDE} ${FFTW_INCLUDE})
target_link_libraries(frequency_bench PRIVATE bench_filters ${VEXA_PARTS} ${VEXA_KERNELS} vexaposix
  ${OPENCV_CORE} ${FFTW} benchmark::benchmark)

# One iteration of each row, so that the benchmarks do not rot.
enable_testing()
add_test(NAME convolution_bench COMMAND convolution_bench --benchmark_min_time=0)
add_test(NAME point_bench COMMAND point_bench --benchmark_min_time=0)
add_test(NAME effects_bench COMMAND effects_bench --benchmark_min_time=0)
add_test(NAME tonal_bench COMMAND tonal_bench --benchmark_min_time=0)
add_test(NAME histogram_bench COMMAND histogram_bench --benchmark_min_time=0)
add_test(NAME mean_bench COMMAND mean_bench --benchmark_min_time=0)
add_test(NAME rank_bench COMMAND rank_bench --benchmark_min_time=0)
add_test(NAME morphology_bench COMMAND morphology_bench --benchmark_min_time=0)
add_test(NAME frequency_bench COMMAND frequency_bench --benchmark_min_time=0
  --benchmark_filter=/512/)
add_test(NAME peak_memory COMMAND peak_memory)
