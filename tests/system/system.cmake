# Tests of lib/system. They run under Wine without a display: the worker's
# windows are message-only. SNetwork_test starts its servers from
# tests/servers itself (nginx and python3 on the build host).
vx_add_gtest(SNetwork_test SOURCES SNetwork_test.cpp LIBS vx_system crypt32 LABELS win TIMEOUT 120)
vx_add_gtest(SThread_test SOURCES SThread_test.cpp LIBS vx_system LABELS win TIMEOUT 60)

# The sample process that SSystem_test starts and looks for.
add_executable(vx_sleeper sleeper.cpp)
vx_add_gtest(SSystem_test SOURCES SSystem_test.cpp LIBS vx_system LABELS win TIMEOUT 60)
add_dependencies(SSystem_test vx_sleeper)
