lumo_test(codecs_test codecs
  SOURCES codecs/WavDecoder_test.cpp codecs/CodecChain_test.cpp
  LIBS zl_test_support zl_codecs)
