# The three test programs. Each is skipped while it has no sources.
#   qrvml_module_tests   the module's objects alone
#   qrvml_app_tests      the application and the module's objects, in one process
#   qrvml_system_tests   the built program, as a user runs it
find_package(GTest REQUIRED)
# Workbooks, graphs and data files are written and read back with these; libzip without its package
# file for the reason given in the root's CMakeLists.txt.
find_package(pugixml REQUIRED)
find_library(ZIP_LIBRARY zip REQUIRED)
find_library(XLSXWRITER_LIBRARY xlsxwriter REQUIRED)
find_library(READSTAT_LIBRARY readstat REQUIRED)
include(GoogleTest)

set(test_root "${CMAKE_CURRENT_SOURCE_DIR}/tests")
# The one file that knows where this build and its sources are.
set(test_places "${test_root}/support/places.cpp")
set_source_files_properties(
  "${test_places}"
  PROPERTIES COMPILE_DEFINITIONS
             "QRVML_PROGRAM=\"${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/qrvml\";QRVML_EXAMPLES=\"${CMAKE_CURRENT_SOURCE_DIR}/examples\";QRVML_TEST_DATA=\"${test_root}/data\"")
# The one file of the tests that sees the header of the web library.
set_source_files_properties(
  "${test_root}/server/web_client.cpp" PROPERTIES COMPILE_OPTIONS "${HTTPLIB_CFLAGS}"
                                                  SKIP_PRECOMPILE_HEADERS ON)
# A folder of tests/ that is named like a room of src/ tests the module; every other one tests the
# application, where tests/apphost/ stands for app/host/.
function(qrvml_folders variable parent)
  file(GLOB entries CONFIGURE_DEPENDS LIST_DIRECTORIES true RELATIVE "${parent}" "${parent}/*")
  set(folders "")
  foreach(entry ${entries})
    if(IS_DIRECTORY "${parent}/${entry}")
      list(APPEND folders ${entry})
    endif()
  endforeach()
  set(${variable} "${folders}" PARENT_SCOPE)
endfunction()
qrvml_folders(module_rooms "${CMAKE_CURRENT_SOURCE_DIR}/src")
qrvml_folders(app_rooms "${test_root}")
list(REMOVE_ITEM app_rooms ${module_rooms} support system data)

# qrvml_tests(<name> LABEL <ctest label> NEEDS <targets>... ROOMS <folders of tests/>...
#             LINKS <libraries>...)
# The label leads each test's name in ctest: two programs may hold tests of one name.
function(qrvml_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "LABEL" "NEEDS;ROOMS;LINKS")
  list(TRANSFORM arg_ROOMS PREPEND "tests/")
  qrvml_sources(sources ${arg_ROOMS})
  if(NOT sources)
    return()
  endif()
  list(APPEND sources "${test_places}")
  list(REMOVE_DUPLICATES sources)
  foreach(needed ${arg_NEEDS})
    if(NOT TARGET ${needed})
      return()
    endif()
  endforeach()

  add_executable(${name} ${sources})
  add_dependencies(${name} ${arg_NEEDS})
  set_target_properties(${name} PROPERTIES QRVML_TESTS_ONLY ON)
  target_include_directories(${name} PRIVATE "${test_root}")
  target_link_libraries(${name} PRIVATE qrvml_headers ${arg_LINKS} GTest::gtest_main)
  # Tests spend their time in the code under test; compiling them costs more. The headers that all of
  # them read are compiled once (the last option lets ccache see through that).
  target_compile_options(${name} PRIVATE -O0 -fpch-preprocess)
  target_precompile_headers(
    ${name} PRIVATE <gtest/gtest.h> <algorithm> <filesystem> <fstream> <functional> <map> <sstream>
    <string> <vector>)
  gtest_discover_tests(
    ${name}
    TEST_PREFIX "${arg_LABEL}/"
    DISCOVERY_MODE PRE_TEST
    PROPERTIES LABELS ${arg_LABEL} TIMEOUT 300)
endfunction()

qrvml_tests(
  qrvml_module_tests
  LABEL module
  NEEDS qrvml_module
  ROOMS ${module_rooms} support
  LINKS qrvml_module)
qrvml_tests(
  qrvml_app_tests
  LABEL app
  NEEDS qrvml_app qrvml_module QRVMachineLearning
  ROOMS ${app_rooms} support
  LINKS qrvml_app qrvml_module pugixml::pugixml ${ZIP_LIBRARY} ${XLSXWRITER_LIBRARY}
        ${READSTAT_LIBRARY})
qrvml_tests(
  qrvml_system_tests
  LABEL system
  NEEDS qrvml QRVMachineLearning
  ROOMS system
  LINKS nlohmann_json::nlohmann_json)
