if(NOT WIN32)
  return()
endif()

vx_add_gtest(system_registry_test
  SOURCES SRegistry_test.cpp
  LIBS vx_system
  LABELS win
  TIMEOUT 60)

add_library(vx_testlib SHARED SDll_testlib.cpp)
set_target_properties(vx_testlib PROPERTIES PREFIX "" OUTPUT_NAME "vx_testlib")
target_link_options(vx_testlib PRIVATE -static-libgcc)
vx_add_gtest(system_dll_test SOURCES SDll_test.cpp LIBS vx_system LABELS win TIMEOUT 60)
add_dependencies(system_dll_test vx_testlib)
