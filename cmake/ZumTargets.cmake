# The one place that defines what a library, a test and a benchmark are.

# Paths in the objects are relative to the tree and to the build folder, so that two folders give the same bytes.
set(ZUM_PATH_OPTIONS "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=." "-ffile-prefix-map=${CMAKE_BINARY_DIR}=./build")
# What is given out is linked without what it doesn't use.
set(ZUM_COMPILE_OPTIONS ${ZUM_PATH_OPTIONS} -ffunction-sections -fdata-sections)
if(WIN32)
  # Structured exceptions and C++ exceptions stay apart with the DWARF unwinder; no Unicode macros are
  # needed since the W functions are named in full. 0x0601 is the oldest system that the program serves.
  set(ZUM_WIN32_DEFINITIONS WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
endif()

# zum_join(NAME [OWN name ...])
# The target's sources are compiled eight at a time, as one: headers, and what templates give, are most of a source's time.
# What two of them have by one name in an unnamed namespace is then an error: it gets another name. OWN lists names that
# several sources have on purpose, each for its own. CMake tells the sources apart by their paths, so that OWN isn't for
# what is packaged.
function(zum_join name)
  cmake_parse_arguments(ARG "" "" "OWN" ${ARGN})
  set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
  if(ARG_OWN)
    set(names "#define ZUM_NAME_(name, source) name##source\n#define ZUM_NAME(name, source) ZUM_NAME_(name, source)\n")
    foreach(own ${ARG_OWN})
      string(APPEND names "#define ${own} ZUM_NAME(${own}, ZUM_SOURCE)\n")
    endforeach()
    set_target_properties(${name} PROPERTIES
      UNITY_BUILD_UNIQUE_ID ZUM_SOURCE UNITY_BUILD_CODE_BEFORE_INCLUDE "${names}")
  endif()
endfunction()

# zum_replaceable(SOURCE ...)
# A program may define what these sources of a library define, and the linker then leaves them in the archive. So each is
# an object of its own, joined with none.
function(zum_replaceable)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# Has the jumps of code counted for the fuzzer, without its main function.
set(ZUM_FUZZER_OPTION -fsanitize=fuzzer-no-link)

# zum_instrumented(NAME)
# A layer in the build of the fuzz targets: the fuzzer counts its jumps. What it includes of the standard library is
# compiled once for all layers, which takes a third off their time; in the builds that are given out each source is by
# itself, so that an include that is missing shows.
function(zum_instrumented name)
  if(NOT TARGET zum_product_pch)
    add_library(zum_product_pch OBJECT ${CMAKE_SOURCE_DIR}/cmake/product_pch.cpp)
    target_compile_options(zum_product_pch PRIVATE ${ZUM_COMPILE_OPTIONS} ${ZUM_FUZZER_OPTION})
    target_precompile_headers(zum_product_pch PRIVATE
      <algorithm> <array> <atomic> <chrono> <cstdint> <cstdio> <cstring> <exception> <filesystem> <fstream> <functional>
      <iterator> <map> <memory> <mutex> <optional> <set> <sstream> <stdexcept> <string> <string_view> <system_error>
      <utility> <vector>)
  endif()
  target_compile_options(${name} PRIVATE ${ZUM_FUZZER_OPTION})
  target_precompile_headers(${name} REUSE_FROM zum_product_pch)
endfunction()

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
  if(ZUM_BUILD_FUZZERS)
    zum_instrumented(${name})
  endif()
  if(ZUM_JOIN_PRODUCT)
    zum_join(${name} OWN kSourceFile kRepeatCount kDelay)
  endif()
  if(NOT WIN32)
    # The native program is given out, too. The check of buffers' sizes needs an optimised build.
    target_compile_options(${name} PRIVATE $<$<CONFIG:RelWithDebInfo>:-D_FORTIFY_SOURCE=2>)
  endif()
  target_link_libraries(${name} PUBLIC ${ARG_LINK})
endfunction()

# What tests and their helpers are compiled with: they are most of the build, and each runs a few times, so
# they aren't optimised, and natively keep line numbers but no types for the debugger. The product's objects
# keep their own flags; a test that depends on optimisation sets its own. A section for each function would be for
# nothing, and the linker for Windows takes twice as long with them.
set(ZUM_TEST_COMPILE_OPTIONS ${ZUM_PATH_OPTIONS} -O0)
set(ZUM_TEST_LINK_OPTIONS)
if(NOT WIN32)
  list(APPEND ZUM_TEST_COMPILE_OPTIONS -g1)
  # A third of the usual linker's time, where it is installed.
  find_program(ZUM_LLD ld.lld)
  if(ZUM_LLD)
    list(APPEND ZUM_TEST_LINK_OPTIONS -fuse-ld=lld)
  endif()
endif()

# zum_test_helper(NAME SOURCES ... [LINK ...])
# A program that tests start.
function(zum_test_helper name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE ${ZUM_TEST_COMPILE_OPTIONS})
  target_link_options(${name} PRIVATE ${ZUM_TEST_LINK_OPTIONS})
  target_link_libraries(${name} PRIVATE ${ARG_LINK})
endfunction()

# zum_test(NAME SOURCES ... [LINK ...] [NATIVE_ONLY] [SHARDS number] [LOCK name] [ZONES zone ...])
# A GoogleTest program of its own, named after its one test file: for tests that replace functions of the
# program, for sweeps, for what has to be settled before a process starts, for what is also built under
# ThreadSanitizer, and for tests of the tests' own tools. All other test files of a folder go into the programs of zum_folder_tests.
#
# NATIVE_ONLY for tests that inject faults through the host layer. SHARDS splits the cases into as many tests
# of CTest's. LOCK serialises programs that share something in the Wine prefix, such as the machine's
# installer keys. ZONES makes one test of each time zone.
function(zum_test name)
  cmake_parse_arguments(ARG "NATIVE_ONLY" "SHARDS" "SOURCES;LINK;LOCK;ZONES" ${ARGN})
  set_property(DIRECTORY APPEND PROPERTY ZUM_OWN_TESTS ${name}.cpp)
  if(ARG_NATIVE_ONLY AND WIN32)
    return()
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE ${ZUM_TEST_COMPILE_OPTIONS})
  target_link_options(${name} PRIVATE ${ZUM_TEST_LINK_OPTIONS})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} zum_test_support)
  if(ZUM_JOIN_TESTS)
    zum_join(${name})
  endif()
  if(TARGET zum_test_pch)
    target_precompile_headers(${name} REUSE_FROM zum_test_pch)
  endif()
  if(ARG_ZONES)
    foreach(zone ${ARG_ZONES})
      string(REPLACE "/" "-" entry ${name}.${zone})
      zum_run_cases(${name} ${entry} 1/1 "${ARG_LOCK}")
      set_tests_properties(${entry} PROPERTIES ENVIRONMENT "TZ=${zone}")
    endforeach()
  elseif(ARG_SHARDS)
    foreach(shard RANGE 1 ${ARG_SHARDS})
      zum_run_cases(${name} ${name}.${shard} ${shard}/${ARG_SHARDS} "${ARG_LOCK}")
      set_tests_properties(${name}.${shard} PROPERTIES ${ZUM_LONG})
    endforeach()
  else()
    zum_run_cases(${name} ${name} 1/1 "${ARG_LOCK}")
  endif()
endfunction()

# CTest starts first what costs most. The longest under Wine are the tests that wait for one another, and natively those
# that are split: these begin at once, and the others run beside them.
set(ZUM_LONG COST 1)

# One test of CTest's, which is a part of a program's cases: tests/run_program.py tells which cases share a
# process. Its report is results/ENTRY.xml in the build folder.
function(zum_run_cases program entry shard lock)
  add_test(NAME ${entry}
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/tests/run_program.py
            --report ${CMAKE_BINARY_DIR}/results/${entry}.xml --shard ${shard}
            "--emulator=${CMAKE_CROSSCOMPILING_EMULATOR}" $<TARGET_FILE:${program}>)
  # The runner ends what hangs, and says which case it was. The label is for running one folder's programs.
  file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR}/tests ${CMAKE_CURRENT_SOURCE_DIR})
  set_tests_properties(${entry} PROPERTIES TIMEOUT 3600 LABELS ${folder})
  if(lock)
    set_tests_properties(${entry} PROPERTIES RESOURCE_LOCK "${lock}" ${ZUM_LONG})
  endif()
endfunction()

# zum_folder_tests([LINK ...] [SUPPORT source ...] [HOST_SUPPORT source ...] [SHARDS number] [HOST_SHARDS number]
#                  [LOCK name])
# The folder's two test programs. A file FOLDER/x_test.cpp goes into FOLDER_test, which runs in both worlds, and
# FOLDER/x_host_test.cpp into FOLDER_host_test, which injects faults through the host layer and is native only;
# FOLDER has "_" in place of "/". Files of zum_test, called before, are left out.
# SUPPORT and HOST_SUPPORT are the other sources of the two. SHARDS and LOCK are those of zum_test; natively
# nothing is shared, so that LOCK counts for Windows only.
function(zum_folder_tests)
  cmake_parse_arguments(ARG "" "SHARDS;HOST_SHARDS" "LINK;SUPPORT;HOST_SUPPORT;LOCK" ${ARGN})
  file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR}/tests ${CMAKE_CURRENT_SOURCE_DIR})
  string(REPLACE "/" "_" name ${folder})
  file(GLOB both RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} CONFIGURE_DEPENDS *_test.cpp)
  get_property(own DIRECTORY PROPERTY ZUM_OWN_TESTS)
  list(REMOVE_ITEM both ${own} "")
  set(host ${both})
  list(FILTER host INCLUDE REGEX "_host_test")
  list(FILTER both EXCLUDE REGEX "_host_test")
  if(NOT WIN32)
    set(ARG_LOCK)
  endif()
  if(both)
    zum_test(${name}_test SOURCES ${both} ${ARG_SUPPORT} LINK ${ARG_LINK} SHARDS ${ARG_SHARDS} LOCK ${ARG_LOCK})
  endif()
  if(host)
    zum_test(${name}_host_test NATIVE_ONLY SHARDS ${ARG_HOST_SHARDS}
      SOURCES ${host} ${ARG_HOST_SUPPORT} LINK ${ARG_LINK} zum_test_allocation_faults)
  endif()
endfunction()

# zum_python_cases(PREFIX [SECOND_MACHINE pattern] [TIMEOUT seconds] [LOCK name ...] [LABELS label ...]
#                  [ENVIRONMENT variable=value ...])
# The cases of the folder's run_tests.py, each a test PREFIX.CASE of its own. LOCK is what they share in the Wine prefix;
# natively nothing is shared. Those that match SECOND_MACHINE have another prefix, so that they share nothing with the others.
# ZUM_WORLD is added to their environment.
function(zum_python_cases prefix)
  cmake_parse_arguments(ARG "" "SECOND_MACHINE;TIMEOUT" "LOCK;LABELS;ENVIRONMENT" ${ARGN})
  if(WIN32)
    set(world ZUM_WORLD=windows)
  else()
    set(world ZUM_WORLD=native)
    set(ARG_LOCK)
  endif()
  set(runner ${CMAKE_CURRENT_SOURCE_DIR}/run_tests.py)
  file(GLOB scripts CONFIGURE_DEPENDS *.py)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${scripts})
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env ${world} ${Python3_EXECUTABLE} ${runner} --list
    OUTPUT_VARIABLE cases OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ";" cases "${cases}")
  foreach(case ${cases})
    set(environment ${world} ${ARG_ENVIRONMENT})
    set(lock ${ARG_LOCK})
    if(WIN32 AND ARG_SECOND_MACHINE AND case MATCHES "${ARG_SECOND_MACHINE}")
      list(APPEND environment ZUM_WINE_MACHINE=second)
      list(TRANSFORM lock APPEND "_second")
    endif()
    add_test(NAME ${prefix}.${case} COMMAND ${Python3_EXECUTABLE} ${runner} ${case})
    set_tests_properties(${prefix}.${case} PROPERTIES
      ENVIRONMENT "${environment}" TIMEOUT ${ARG_TIMEOUT} SKIP_RETURN_CODE 77
      RESOURCE_LOCK "${lock}" LABELS "${ARG_LABELS}")
    if(lock)
      set_tests_properties(${prefix}.${case} PROPERTIES ${ZUM_LONG})
    endif()
  endforeach()
endfunction()

# zum_benchmark(NAME SOURCES ... [LINK ...])
# A program that times the product and a named peer. Asserts no time.
function(zum_benchmark name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE ${ZUM_COMPILE_OPTIONS})
  target_link_libraries(${name} PRIVATE ${ARG_LINK})
endfunction()

# zum_fuzz_target(NAME [LINK ...] [SOURCES ...])
# A libFuzzer program of NAME.cpp and further sources; scripts/fuzz.sh runs all of bin/*_fuzz. zum_library
# instruments the product for it.
function(zum_fuzz_target name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${name}.cpp ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE ${ZUM_COMPILE_OPTIONS})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} zum_fuzz_support)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()

# zum_shipped_program(NAME)
# A Windows program that is given out. NAME.rc has its version resource and its manifest, which is made of
# NAME.manifest.in. Its symbols go into a file of their own beside it; both tools put the time into what they write,
# so the time is fixed. What the linker took is listed in NAME.exe.map, for the bill of materials.
function(zum_shipped_program name)
  target_sources(${name} PRIVATE ${name}.rc)
  set(numbers "${PROJECT_VERSION_MAJOR},${PROJECT_VERSION_MINOR},${PROJECT_VERSION_PATCH},0")
  configure_file(${name}.manifest.in ${name}.manifest @ONLY)
  set_source_files_properties(${name}.rc PROPERTIES
    COMPILE_DEFINITIONS "ZUM_VERSION=${PROJECT_VERSION};ZUM_VERSION_NUMBERS=${numbers}"
    OBJECT_DEPENDS "${CMAKE_CURRENT_BINARY_DIR}/${name}.manifest"
    INCLUDE_DIRECTORIES "${CMAKE_CURRENT_BINARY_DIR}")
  target_link_options(${name} PRIVATE -Wl,--gc-sections -Wl,-Map=$<TARGET_FILE:${name}>.map)
  # Sections lie in the file as they do in memory, so that they can be mapped: read in, each of their pages would have to
  # be copied before the program begins.
  target_link_options(${name} PRIVATE -Wl,--file-alignment=4096)
  # In place of the standard library's handler, which carries all that spells a type's name out.
  target_link_options(${name} PRIVATE
    -Wl,-u,_OruTerminateHandler
    -Wl,--defsym=__ZN9__gnu_cxx27__verbose_terminate_handlerEv=_OruTerminateHandler)
  add_custom_command(TARGET ${name} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0
            ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${name}> $<TARGET_FILE:${name}>.debug
    COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0
            ${CMAKE_STRIP} --strip-all $<TARGET_FILE:${name}>
    COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0
            ${CMAKE_OBJCOPY} --add-gnu-debuglink=$<TARGET_FILE:${name}>.debug $<TARGET_FILE:${name}>
    VERBATIM)
endfunction()
