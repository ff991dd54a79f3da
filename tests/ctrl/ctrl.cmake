# Controls and the tool's dialogs, under Wine with a display.
vx_add_gtest(ctrl_controls_test
  SOURCES Controls_test.cpp
  LIBS vx_wnd vx_file vx_core vx_resources
  LABELS gui
  TIMEOUT 120)

if(TARGET DialogView)
  # DialogView --dump of the tool's dialog texts and of a broken one.
  vx_add_gtest(ctrl_dialogview_test
    SOURCES DialogView_test.cpp
    LIBS vx_core
    LABELS win
    TIMEOUT 120)
  add_dependencies(ctrl_dialogview_test DialogView)

  # PNG pictures of both dialogs under <build>/screenshots.
  add_test(NAME ctrl_screenshots
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/screenshots ${CMAKE_BINARY_DIR}
            $<TARGET_FILE:DialogView>)
  set_tests_properties(ctrl_screenshots PROPERTIES
    LABELS gui
    TIMEOUT 120
    RESOURCE_LOCK vx_desktop
    ENVIRONMENT "VX_BUILD_DIR=${CMAKE_BINARY_DIR}")
endif()
