# Window framework: the OS-free dialog text parser (both builds, fuzzed in
# the native one) and the windows themselves under Wine with a display.
vx_add_gtest(SWndDialogDesc_test
  SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/SWndDialogDesc_test.cpp
  LIBS vx_wnd LABELS unit TIMEOUT 60)

vx_add_fuzzer(SWndDialogDesc_fuzz
  SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/SWndDialogDesc_fuzz.cpp
  LIBS vx_wnd)

vx_add_gtest(SWnd_test
  SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/SWndApp_test.cpp ${CMAKE_CURRENT_SOURCE_DIR}/SWnd_test.cpp
          ${CMAKE_CURRENT_SOURCE_DIR}/SWndDialog_test.cpp
  LIBS vx_wnd LABELS gui TIMEOUT 120)
