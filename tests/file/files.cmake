# Files and INI reading. The memory side runs everywhere; the disk kind and
# the resource loader need the platform.
vx_add_gtest(SFile_test
  SOURCES SFile_test.cpp SIni_test.cpp
  LIBS vx_file
  LABELS unit
  TIMEOUT 120)

if(WIN32)
  # The resources the loader reads, compiled straight to an object so the
  # build needs no resource language of its own.
  set(_vx_files_res ${CMAKE_CURRENT_BINARY_DIR}/SFilePath_test_res.o)
  add_custom_command(OUTPUT ${_vx_files_res}
    COMMAND ${CMAKE_RC_COMPILER} -O coff -i ${CMAKE_CURRENT_SOURCE_DIR}/SFilePath_test.rc
            -o ${_vx_files_res}
    DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/SFilePath_test.rc
    VERBATIM)
  set_source_files_properties(${_vx_files_res} PROPERTIES EXTERNAL_OBJECT TRUE GENERATED TRUE)
  vx_add_gtest(SFilePath_test
    SOURCES SFilePath_test.cpp ${_vx_files_res}
    LIBS vx_file
    LABELS win
    TIMEOUT 120)
endif()

vx_add_fuzzer(SIni_fuzz SOURCES SIni_fuzz.cpp LIBS vx_file)
