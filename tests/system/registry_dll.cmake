if(NOT WIN32)
  return()
endif()

vx_add_gtest(system_registry_test
  SOURCES SRegistry_test.cpp
  LIBS vx_system
  LABELS win
  TIMEOUT 60)
