include(GoogleTest)

# kvn_precompile(TARGET HEADERS...): the heavy headers are parsed once for the target instead of
# once for each of its sources; most of a test file's compile time is GoogleTest's and JSON's
# headers. A target of one source would only pay for the extra step.
function(kvn_precompile target)
  get_target_property(srcs ${target} SOURCES)
  list(LENGTH srcs count)
  if(count GREATER 1)
    target_precompile_headers(${target} PRIVATE ${ARGN})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      target_compile_options(${target} PRIVATE -fpch-preprocess)  # lets ccache keep these too
    endif()
  endif()
endfunction()

# kvn_add_test(NAME SOURCES... LIBS ... [PCH headers...]): one GoogleTest binary, registered
# with CTest. PCH names heavy headers its sources share beside GoogleTest's own.
function(kvn_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS;PCH" ${ARGN})
  if(NOT KVN_TESTS)
    # Still a target, so that what a directory adds to it configures; built only on demand.
    add_executable(${name} EXCLUDE_FROM_ALL ${ARG_SOURCES})
    return()
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gtest_main GTest::gmock)
  kvn_precompile(${name} <gtest/gtest.h> <gmock/gmock.h> ${ARG_PCH})
  # A test's own code only drives the libraries, which keep the build's optimisation; at -O1 it
  # builds in two thirds of the time.
  if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo)$")
    target_compile_options(${name} PRIVATE -O1)
  endif()
  set(labels unit)
  if(ARG_LABELS)
    set(labels ${ARG_LABELS})
  endif()
  set(env)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    # The end-to-end harness starts every program through the emulator (tests/e2e/exec_args.h).
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " launcher)
    set(env ENVIRONMENT "KVN_E2E_LAUNCHER=${launcher}")
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES LABELS "${labels}" TIMEOUT 120
                       ${env})
endfunction()

# kvn_program_path(VAR TARGET): the file a test execs to start the program TARGET. That is the
# program itself; in a cross build it is a script that runs it through the emulator, since the
# kernel here cannot exec the target's binaries.
function(kvn_program_path var target)
  if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
    set(${var} "$<TARGET_FILE:${target}>" PARENT_SCOPE)
    return()
  endif()
  set(script "${CMAKE_BINARY_DIR}/emulated/${target}")
  set(${var} "${script}" PARENT_SCOPE)
  get_property(made GLOBAL PROPERTY kvn_emulated_${target})
  if(made)
    return()
  endif()
  set_property(GLOBAL PROPERTY kvn_emulated_${target} TRUE)
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " launcher)
  file(GENERATE OUTPUT "${script}"
       CONTENT "#!/bin/sh\nexec ${launcher} \"$<TARGET_FILE:${target}>\" \"$@\"\n"
       FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                        WORLD_READ WORLD_EXECUTE)
endfunction()

# kvn_unit_sources(VAR): the library sources of the current directory, that is every *.cc that
# is not a test, a benchmark or a program's main.
function(kvn_unit_sources var)
  file(GLOB srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cc)
  list(FILTER srcs EXCLUDE REGEX "(_test|_bench|_main)\\.cc$")
  set(${var} ${srcs} PARENT_SCOPE)
endfunction()

# kvn_unit_tests(VAR): the *_test.cc files of the current directory.
function(kvn_unit_tests var)
  file(GLOB srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*_test.cc)
  set(${var} ${srcs} PARENT_SCOPE)
endfunction()

# kvn_add_bench(NAME SOURCES... LIBS ...): a Google Benchmark program, with a short smoke run
# registered in CTest (label "bench") so that CI sees it still runs. Figures come from running
# the program by hand.
function(kvn_add_bench name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;SMOKE_ARGS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} benchmark::benchmark)
  add_test(NAME ${name}_smoke COMMAND ${name} --benchmark_min_time=0.01 ${ARG_SMOKE_ARGS})
  set_tests_properties(${name}_smoke PROPERTIES LABELS bench TIMEOUT 300)
endfunction()
