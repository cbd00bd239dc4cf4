lumo_fuzz_target(wav_fuzz wav_fuzz.cpp zl_codecs)
lumo_fuzz_target(codec_chain_fuzz codec_chain_fuzz.cpp zl_codecs)
