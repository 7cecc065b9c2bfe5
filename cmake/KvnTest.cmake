include(GoogleTest)

# kvn_add_test(NAME SOURCES... LIBS ...): one GoogleTest binary, registered with CTest.
function(kvn_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gtest_main GTest::gmock)
  set(labels unit)
  if(ARG_LABELS)
    set(labels ${ARG_LABELS})
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES LABELS "${labels}" TIMEOUT 120)
endfunction()
