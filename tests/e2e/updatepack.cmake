# UpdatePack.exe as a whole program, without a display.
vx_add_gtest(UpdatePack_test SOURCES UpdatePack_test.cpp LABELS e2e TIMEOUT 180)
if(TARGET UpdatePack_test AND TARGET UpdatePack)
  add_dependencies(UpdatePack_test UpdatePack)
endif()
