# Shared build helpers: one way to declare a test, one way to declare a benchmark.

# kv_test(NAME sources... LIBS libs...): a GoogleTest executable whose cases ctest lists one by one.
# Tests run from the source tree's root so fixtures are found by relative path.
function(kv_test name)
  cmake_parse_arguments(T "" "" "LIBS" ${ARGN})
  add_executable(${name} ${T_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  target_compile_definitions(${name} PRIVATE KV_SOURCE_DIR="${KV_SOURCE_DIR}" KV_BINARY_DIR="${CMAKE_BINARY_DIR}")
  gtest_discover_tests(${name} WORKING_DIRECTORY ${KV_SOURCE_DIR} DISCOVERY_MODE PRE_TEST
                       PROPERTIES ENVIRONMENT "KV_BINARY_DIR=${CMAKE_BINARY_DIR}")
endfunction()

# kv_bench(NAME sources... LIBS libs...): a Google Benchmark executable (not a test).
function(kv_bench name)
  if(NOT KV_BENCH)
    return()
  endif()
  find_package(benchmark REQUIRED)
  cmake_parse_arguments(B "" "" "LIBS" ${ARGN})
  add_executable(${name} ${B_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE ${B_LIBS} benchmark::benchmark)
  target_compile_definitions(${name} PRIVATE KV_SOURCE_DIR="${KV_SOURCE_DIR}" KV_BINARY_DIR="${CMAKE_BINARY_DIR}")
  set_property(GLOBAL APPEND PROPERTY KV_BENCHMARKS ${name})
endfunction()

# kv_subdirs(): add every immediate subfolder that has a CMakeLists.txt (tests/, bench/).
function(kv_subdirs)
  file(GLOB children RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/*/CMakeLists.txt)
  list(SORT children)
  foreach(c IN LISTS children)
    get_filename_component(d ${c} DIRECTORY)
    add_subdirectory(${d})
  endforeach()
endfunction()

# kv_server_tests(NAME): the cases of the test executable NAME once more, as "server.<case>", with
# every project made on a throw-away PostgreSQL server (the pgserver fixture of tests/host/projectdb).
# KV_PROJECTDB_SERVER is the one parameter: set, the fixtures make link files instead of files.
set(KV_PGSERVER_DIR ${CMAKE_BINARY_DIR}/pgserver)
function(kv_server_tests name)
  gtest_discover_tests(${name} TEST_PREFIX "server." WORKING_DIRECTORY ${KV_SOURCE_DIR} DISCOVERY_MODE PRE_TEST
                       PROPERTIES ENVIRONMENT "KV_BINARY_DIR=${CMAKE_BINARY_DIR}"
                                  ENVIRONMENT_MODIFICATION
                                  "KV_PROJECTDB_SERVER=set:host=${KV_PGSERVER_DIR} user=kv dbname=postgres"
                                  FIXTURES_REQUIRED pgserver)
endfunction()

# kv_on_server(NAME): a test whose name starts "server." runs with its projects on the throw-away
# server, as kv_server_tests' cases do; any other is left as it is. For end-to-end scenarios that
# are registered once per engine in a loop over the prefixes "" and "server.".
function(kv_on_server name)
  if(name MATCHES "^server\\.")
    set_property(TEST ${name} APPEND PROPERTY FIXTURES_REQUIRED pgserver)
    set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT_MODIFICATION
                 "KV_PROJECTDB_SERVER=set:host=${KV_PGSERVER_DIR} user=kv dbname=postgres")
  endif()
endfunction()
