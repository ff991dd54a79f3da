# The update package archive: its entry list over memory everywhere, the
# archive itself on real folders under the platform, and a fuzzer of the
# reading side.
vx_add_gtest(SResourceIndex_test
  SOURCES SResourceIndex_test.cpp
  LIBS vx_file
  LABELS unit
  TIMEOUT 60)

if(WIN32)
  vx_add_gtest(SResource_test SOURCES SResource_test.cpp LIBS vx_file LABELS win TIMEOUT 180)
endif()

vx_add_fuzzer(SResourceIndex_fuzz
  SOURCES SResourceIndex_fuzz.cpp
          ${PROJECT_SOURCE_DIR}/tools/UpdatePack/PPackCheck.cpp
  LIBS vx_file)
if(TARGET SResourceIndex_fuzz)
  target_include_directories(SResourceIndex_fuzz PRIVATE ${PROJECT_SOURCE_DIR}/tools/UpdatePack)
endif()
