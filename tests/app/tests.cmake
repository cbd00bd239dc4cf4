lumo_test(app_test app
  SOURCES app/DataFolders_test.cpp app/AtomicFile_test.cpp
  LIBS zl_test_support zl_engine)
