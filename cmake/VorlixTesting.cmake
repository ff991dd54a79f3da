# Test registration.
#
#   vx_add_gtest(<name> SOURCES <files...> [LIBS <targets...>]
#                LABELS <unit|win|gui|e2e...> [TIMEOUT <seconds>])
#     Builds one GoogleTest program <name> (linked with gtest_main) and
#     registers it as one ctest test <name> (default timeout 120 s). In the
#     Windows build it runs under Wine through scripts/wine-run; tests labelled
#     `gui` get an X display (a shared Xvfb) and take the lock `vx_desktop`, so
#     two of them never fight over focus and input on the one Wine desktop.
#     In the native build only `unit` tests are built; the others are ignored.
#     Under Wine, a crash of the test program or of any program it starts
#     (Wine's "wine: Unhandled ..." note in the output) fails the test.
#
#   vx_add_fuzzer(<name> SOURCES <files...> [LIBS <targets...>])
#     Native build only (ignored otherwise): a libFuzzer program <name>,
#     registered as the ctest test <name> with label `fuzz` that fuzzes for
#     20 s (timeout 90 s). A folder <name>_corpus next to the first source
#     seeds it; new inputs and crash files go to <build>/fuzz/<name>/.
#
# What a test program can rely on:
#   - Every executable of the build, test programs included, is written to
#     <build>/bin (<build>/bin/<config> with multi-config generators): the
#     programs a test starts (Update.exe, helper tools) sit next to the test
#     program itself.
#   - The working directory of a gtest program is that folder.
#   - Compile definitions, string literals as the program sees the paths (under
#     Wine "Z:/work/main/..."; forward slashes work with every Win32 call):
#       VX_SOURCE_DIR  the source tree root
#       VX_BIN_DIR     the folder of the executables
#   - Tests share one Wine prefix per build tree (<build>/wineprefix) and a
#     wineserver that stays up between tests; make temporary files in unique
#     folders (GetTempPath + a unique name), never at fixed paths.

set(VX_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "GoogleTest sources built with the tests")

# The literal under which a test program sees a build-host path.
function(_vx_target_path out path)
  if(CMAKE_CROSSCOMPILING AND CMAKE_SYSTEM_NAME STREQUAL "Windows" AND CMAKE_HOST_UNIX)
    set(path "Z:${path}")
  endif()
  set(${out} "${path}" PARENT_SCOPE)
endfunction()

# Builds GoogleTest from source with the project's compiler and flags, quietly.
macro(vx_add_googletest)
  if(EXISTS ${VX_GOOGLETEST_DIR}/CMakeLists.txt)
    set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
    add_subdirectory(${VX_GOOGLETEST_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    foreach(_vx_gt gtest gtest_main)
      if(MSVC)
        target_compile_options(${_vx_gt} PRIVATE /w)
      else()
        target_compile_options(${_vx_gt} PRIVATE -w)
      endif()
    endforeach()
    set(VX_GTEST_LIBS gtest_main gtest)
  else()
    find_package(GTest REQUIRED)
    set(VX_GTEST_LIBS GTest::gtest_main GTest::gtest)
  endif()
endmacro()

function(_vx_test_definitions target)
  _vx_target_path(src "${PROJECT_SOURCE_DIR}")
  _vx_target_path(bin "$<TARGET_FILE_DIR:${target}>")
  target_compile_definitions(${target} PRIVATE VX_SOURCE_DIR="${src}" VX_BIN_DIR="${bin}")
endfunction()

function(vx_add_gtest name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBS;LABELS")
  if(NOT arg_SOURCES)
    message(FATAL_ERROR "vx_add_gtest(${name}): SOURCES missing")
  endif()
  if(NOT arg_LABELS)
    message(FATAL_ERROR "vx_add_gtest(${name}): LABELS missing")
  endif()
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vx_add_gtest(${name}): unknown arguments ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(VX_NATIVE AND NOT "unit" IN_LIST arg_LABELS)
    return()
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()

  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} ${VX_GTEST_LIBS})
  _vx_test_definitions(${name})

  add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY $<TARGET_FILE_DIR:${name}>)
  set(env "VX_BUILD_DIR=${CMAKE_BINARY_DIR}")
  if("gui" IN_LIST arg_LABELS)
    list(APPEND env "VX_NEED_DISPLAY=1")
    set_property(TEST ${name} PROPERTY RESOURCE_LOCK vx_desktop)
  endif()
  set_tests_properties(${name} PROPERTIES
    LABELS "${arg_LABELS}"
    TIMEOUT ${arg_TIMEOUT}
    ENVIRONMENT "${env}")
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    # Wine's note on a crash, of the test program or of one it started.
    set_property(TEST ${name} PROPERTY FAIL_REGULAR_EXPRESSION "wine: Unhandled")
  endif()
endfunction()

function(vx_add_fuzzer name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBS")
  if(NOT arg_SOURCES)
    message(FATAL_ERROR "vx_add_fuzzer(${name}): SOURCES missing")
  endif()
  if(NOT VX_NATIVE)
    return()
  endif()

  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS})
  target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  _vx_test_definitions(${name})

  # libFuzzer writes new inputs into the first folder and only reads the seeds.
  set(work ${CMAKE_BINARY_DIR}/fuzz/${name})
  file(MAKE_DIRECTORY ${work}/corpus)
  list(GET arg_SOURCES 0 first)
  get_filename_component(first "${first}" ABSOLUTE BASE_DIR ${CMAKE_CURRENT_SOURCE_DIR})
  get_filename_component(seed_dir "${first}" DIRECTORY)
  set(seeds)
  if(IS_DIRECTORY ${seed_dir}/${name}_corpus)
    set(seeds ${seed_dir}/${name}_corpus)
  endif()
  add_test(NAME ${name}
    COMMAND ${name} -max_total_time=20 -timeout=10 -print_final_stats=1
            -artifact_prefix=${work}/ ${work}/corpus ${seeds}
    WORKING_DIRECTORY ${work})
  set_tests_properties(${name} PROPERTIES LABELS fuzz TIMEOUT 90)
endfunction()
