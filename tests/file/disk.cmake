vx_add_gtest(SDisk_test SOURCES SDisk_test.cpp LIBS vx_file LABELS win TIMEOUT 120)
vx_add_gtest(SPath_test SOURCES SPath_test.cpp LIBS vx_file LABELS win TIMEOUT 60)
