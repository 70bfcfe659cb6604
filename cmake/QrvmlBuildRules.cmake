# Rules that hold for every target of the project, and the helpers that apply them.

# Compile rules as a target, so that a library that is linked brings them along. Floating-point
# contraction is off everywhere: a fused multiply-add would give other bits on another machine.
# g++ 12 reports -Wrestrict falsely inside std::string (its bug 105651).
add_library(qrvml_rules INTERFACE)
target_compile_features(qrvml_rules INTERFACE cxx_std_20)
target_compile_options(qrvml_rules INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Werror
                                             -Wno-restrict -ffp-contract=off)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(QRVML_SANITIZE)
  # The check of virtual calls (vptr) wants the type information of every class called, which the
  # application does not link: it loads the module. g++ reports false "maybe uninitialized" in
  # instrumented code. Test programs (QRVML_TESTS_ONLY) are checked for errors of memory alone: what
  # they test is compiled with both, and a third of the time of compiling them is saved.
  set(undefined -fsanitize=undefined -fno-sanitize=vptr -fno-sanitize-recover=all)
  target_compile_options(
    qrvml_rules INTERFACE -fsanitize=address -fno-omit-frame-pointer -Wno-maybe-uninitialized
                          "$<$<NOT:$<BOOL:$<TARGET_PROPERTY:QRVML_TESTS_ONLY>>>:${undefined}>")
  target_compile_definitions(qrvml_rules INTERFACE _GLIBCXX_ASSERTIONS)
  target_link_options(qrvml_rules INTERFACE -fsanitize=address,undefined)
endif()
if(QRVML_COVERAGE)
  target_compile_options(qrvml_rules INTERFACE --coverage)
  target_link_options(qrvml_rules INTERFACE --coverage)
endif()

# ccache saves rebuilds where it is installed; nothing depends on it. Paths are compared as seen from
# the source folder, so that another clone or work tree finds what this one compiled.
find_program(QRVML_CCACHE ccache)
if(QRVML_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
      "${CMAKE_COMMAND}" -E env "CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}" CCACHE_NOHASHDIR=1
      CCACHE_SLOPPINESS=pch_defines,time_macros "${QRVML_CCACHE}")
endif()

# qrvml_sources(<variable> <folder>...): every .cpp below the folders; empty when there is none yet.
function(qrvml_sources variable)
  set(patterns ${ARGN})
  list(TRANSFORM patterns PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  list(TRANSFORM patterns APPEND "/*.cpp")
  file(GLOB_RECURSE found CONFIGURE_DEPENDS ${patterns})
  set(${variable} "${found}" PARENT_SCOPE)
endfunction()

# qrvml_set_kernel_flags(<folder>): a file kernels/<name>_v2.cpp, _v3.cpp or _v4.cpp is compiled for
# that x86-64 level; which of them runs is chosen at run time. All other files stay at the baseline.
function(qrvml_set_kernel_flags folder)
  foreach(level 2 3 4)
    file(GLOB_RECURSE kernels CONFIGURE_DEPENDS
         "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*_v${level}.cpp")
    list(FILTER kernels INCLUDE REGEX "/kernels/[^/]*$")
    if(kernels)
      set_source_files_properties(${kernels} PROPERTIES COMPILE_OPTIONS "-march=x86-64-v${level}")
    endif()
  endforeach()
endfunction()

# qrvml_place_beside_program(<target> <library>): links the imported library's file into the folder
# of the programs whenever <target> is built, where $ORIGIN finds it.
function(qrvml_place_beside_program target library)
  add_custom_command(
    TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}"
    COMMAND ${CMAKE_COMMAND} -E create_symlink "$<TARGET_FILE:${library}>"
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/$<TARGET_FILE_NAME:${library}>"
    VERBATIM)
endfunction()
