# Update.exe as a whole program under Wine with a display. The installer test
# starts nginx and the fault server on 127.0.0.1 itself (tests/servers).
foreach(name UpdateInstall UpdateMake)
  vx_add_gtest(${name}_test SOURCES ${name}_test.cpp LIBS vx_app vx_resources crypt32
               LABELS e2e gui TIMEOUT 240)
  add_dependencies(${name}_test Update SampleApp1 SampleApp2)
  if(TARGET UpdatePack)
    add_dependencies(${name}_test UpdatePack)
  endif()
endforeach()

# The client helper: its command line against the tool's argument reader, its
# fetch and background check against nginx and the fault server.
vx_add_gtest(SUpdateClient_test SOURCES SUpdateClient_test.cpp
             LIBS vx_system vx_wnd wininet crypt32 shell32 LABELS win TIMEOUT 120)
target_include_directories(SUpdateClient_test PRIVATE ${PROJECT_SOURCE_DIR}/tools)
# The sample application across starts: prompt, outcome, back-off, and the
# updater's own update, against nginx (tests/servers).
vx_add_gtest(SampleApp_test SOURCES SampleApp_test.cpp LIBS crypt32 LABELS e2e gui TIMEOUT 240)
if(TARGET SampleApp_test)
  add_dependencies(SampleApp_test Update UpdatePack SampleApp1 SampleApp2)
endif()
