# Update.exe as a whole program under Wine with a display. The installer test
# runs inside with_servers.sh, which serves one folder with nginx and the
# fault server on 127.0.0.1 for the length of the run.
foreach(name UpdateInstall UpdateMake)
  add_executable(${name}_test ${name}_test.cpp)
  target_link_libraries(${name}_test PRIVATE vx_app vx_resources gtest_main gtest)
  _vx_test_definitions(${name}_test)
  add_dependencies(${name}_test Update SampleApp1 SampleApp2)
  if(TARGET UpdatePack)
    add_dependencies(${name}_test UpdatePack)
  endif()
endforeach()

add_test(NAME UpdateInstall_test
  COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/with_servers.sh
          ${PROJECT_SOURCE_DIR}/scripts/wine-run $<TARGET_FILE:UpdateInstall_test>
  WORKING_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
add_test(NAME UpdateMake_test
  COMMAND UpdateMake_test
  WORKING_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
set_tests_properties(UpdateInstall_test UpdateMake_test PROPERTIES
  LABELS "e2e;gui"
  TIMEOUT 240
  RESOURCE_LOCK vx_desktop
  ENVIRONMENT "VX_BUILD_DIR=${CMAKE_BINARY_DIR};VX_NEED_DISPLAY=1")

# The client helper's command line against the tool's argument reader.
vx_add_gtest(SUpdateClient_test SOURCES SUpdateClient_test.cpp LIBS vx_wnd wininet LABELS win
             TIMEOUT 60)
target_include_directories(SUpdateClient_test PRIVATE ${PROJECT_SOURCE_DIR}/tools)
