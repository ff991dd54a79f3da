if(NOT WIN32)
  return()
endif()

vx_add_gtest(system_registry_test
  SOURCES SRegistry_test.cpp
  LIBS vx_system
  LABELS win
  TIMEOUT 60)

# Two copies of one tiny library, told apart by the id they return.
foreach(id 1 2)
  add_library(vx_testlib${id} SHARED SDll_testlib.cpp)
  set_target_properties(vx_testlib${id} PROPERTIES PREFIX "" OUTPUT_NAME "vx_testlib${id}")
  target_compile_definitions(vx_testlib${id} PRIVATE VX_TESTLIB_ID=${id})
  target_link_options(vx_testlib${id} PRIVATE -static-libgcc)
endforeach()

vx_add_gtest(system_dll_test
  SOURCES SDll_test.cpp
  LIBS vx_system
  LABELS win
  TIMEOUT 60)
add_dependencies(system_dll_test vx_testlib1 vx_testlib2)
