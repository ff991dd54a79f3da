# Window framework: the OS-free dialog text parser (both builds, fuzzed in
# the native one) and the windows themselves under Wine with a display.
set(VX_WND_PARSER_SOURCES
  ${PROJECT_SOURCE_DIR}/lib/wnd/SWndDialogDesc.cpp
  ${PROJECT_SOURCE_DIR}/lib/wnd/SWndDialogEntry.cpp)

vx_add_gtest(SWndDialogDesc_test
  SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/SWndDialogDesc_test.cpp ${VX_WND_PARSER_SOURCES}
  LIBS vx_file LABELS unit TIMEOUT 60)

vx_add_fuzzer(SWndDialogDesc_fuzz
  SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/SWndDialogDesc_fuzz.cpp ${VX_WND_PARSER_SOURCES}
  LIBS vx_file)

vx_add_gtest(SWnd_test
  SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/SWndApp_test.cpp ${CMAKE_CURRENT_SOURCE_DIR}/SWnd_test.cpp
          ${CMAKE_CURRENT_SOURCE_DIR}/SWndDialog_test.cpp
  LIBS vx_wnd LABELS gui TIMEOUT 120)
