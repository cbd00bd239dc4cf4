lumo_test(effects_filter_tests effects
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/CutoffFilter_test.cpp
  LIBS zl_effects)
