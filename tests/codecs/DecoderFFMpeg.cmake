lumo_test(codecs_ffmpeg_tests codecs
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/DecoderFFMpeg_test.cpp
          ${PROJECT_SOURCE_DIR}/tests/analysis/SyntheticTrack.cpp
  LIBS zl_codecs)
target_include_directories(codecs_ffmpeg_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests/analysis)
