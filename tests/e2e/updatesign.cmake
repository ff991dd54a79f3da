# Signed packages: UpdatePack's keys and signatures against Python's
# cryptography, and a stamped Update.exe against nginx (tests/servers).
vx_add_gtest(UpdateSign_test SOURCES UpdateSign_test.cpp LIBS crypt32 LABELS e2e gui TIMEOUT 420)
if(TARGET UpdateSign_test)
  add_dependencies(UpdateSign_test Update UpdatePack SampleApp1 SampleApp2 vx_sleeper)
endif()
