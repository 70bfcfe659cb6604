# The three test programs. Each is skipped while it has no sources.
#   qrvml_module_tests   the module's objects alone
#   qrvml_app_tests      the application and the module's objects, in one process
#   qrvml_system_tests   the built program, as a user runs it
find_package(GTest REQUIRED)
include(GoogleTest)

set(test_root "${CMAKE_CURRENT_SOURCE_DIR}/tests")

# qrvml_tests(<name> <label> <folders of tests/> <libraries>...)
function(qrvml_tests name label folders)
  list(TRANSFORM folders PREPEND "tests/")
  qrvml_sources(sources ${folders})
  foreach(library ${ARGN})
    if(NOT TARGET ${library})
      set(sources "")
    endif()
  endforeach()
  list(FILTER sources EXCLUDE REGEX "^$")
  set(own_sources ${sources})
  list(FILTER own_sources EXCLUDE REGEX "/tests/support/")
  if(NOT own_sources AND NOT sources MATCHES "_test\\.cpp")
    return()
  endif()

  add_executable(${name} ${sources})
  target_include_directories(${name} PRIVATE "${test_root}")
  target_link_libraries(${name} PRIVATE qrvml_headers ${ARGN} GTest::gtest_main)
  target_compile_definitions(
    ${name}
    PRIVATE QRVML_PROGRAM="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/qrvml"
            QRVML_EXAMPLES="${CMAKE_CURRENT_SOURCE_DIR}/examples"
            QRVML_TEST_DATA="${test_root}/data")
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES LABELS ${label} TIMEOUT 300)
endfunction()

qrvml_tests(qrvml_module_tests module "host;data;knn;bayes;svm;stats;frame;deploy;support"
            qrvml_module)
qrvml_tests(qrvml_app_tests app "datafile;apphost;documents;qvb;server;cli;support" qrvml_app
            qrvml_module)
qrvml_tests(qrvml_system_tests system "system" qrvml)

if(TARGET qrvml_system_tests)
  add_dependencies(qrvml_system_tests qrvml)
endif()
