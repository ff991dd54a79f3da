vx_add_gtest(core_string_test
  SOURCES SString_test.cpp SStringArray_test.cpp SStringParser_test.cpp SVersion_test.cpp
    SP256_test.cpp
  LIBS vx_core
  LABELS unit
  TIMEOUT 60)

vx_add_fuzzer(core_parser_fuzz
  SOURCES SStringParser_fuzz.cpp
  LIBS vx_core)
