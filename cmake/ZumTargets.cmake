# The one place that defines what a library, a test and a benchmark are.

# Paths in the objects are relative to the tree, so that two folders give the same bytes.
set(ZUM_COMPILE_OPTIONS "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=." -ffunction-sections -fdata-sections)
if(WIN32)
  # Structured exceptions and C++ exceptions stay apart with the DWARF unwinder; no Unicode macros are
  # needed since the W functions are named in full. 0x0601 is the oldest system that the program serves.
  set(ZUM_WIN32_DEFINITIONS WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
endif()

# zum_library(NAME SOURCES ... [LINK ...] [OBJECT])
# A layer: sees its own folder tree and what it links. OBJECT for code that is only an initialiser, which
# the linker would drop from an archive.
function(zum_library name)
  cmake_parse_arguments(ARG "OBJECT" "" "SOURCES;LINK" ${ARGN})
  if(ARG_OBJECT)
    add_library(${name} OBJECT ${ARG_SOURCES})
  else()
    add_library(${name} STATIC ${ARG_SOURCES})
  endif()
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
  target_compile_options(${name} PRIVATE ${ZUM_COMPILE_OPTIONS})
  target_link_libraries(${name} PUBLIC ${ARG_LINK})
endfunction()

# zum_test(NAME SOURCES ... [LINK ...] [NATIVE_ONLY] [LOCK name])
# A GoogleTest program whose cases run in processes of their own (a check site reports once per process).
# NATIVE_ONLY for tests that inject faults through the host layer. LOCK serialises programs that share
# something in the Wine prefix, such as the machine's installer keys.
function(zum_test name)
  cmake_parse_arguments(ARG "NATIVE_ONLY" "LOCK" "SOURCES;LINK" ${ARGN})
  if(ARG_NATIVE_ONLY AND WIN32)
    return()
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE ${ZUM_COMPILE_OPTIONS})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} zum_test_support)
  if(TARGET zum_test_pch)
    target_precompile_headers(${name} REUSE_FROM zum_test_pch)
  endif()
  set(properties TIMEOUT 300)
  if(ARG_LOCK)
    list(APPEND properties RESOURCE_LOCK ${ARG_LOCK})
  endif()
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
                       PROPERTIES ${properties})
endfunction()

# zum_benchmark(NAME SOURCES ... [LINK ...])
# A Google Benchmark program with a named peer in it. Asserts no time.
function(zum_benchmark name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  find_package(benchmark REQUIRED)
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE ${ZUM_COMPILE_OPTIONS})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} benchmark::benchmark)
endfunction()
