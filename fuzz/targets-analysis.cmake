lumo_fuzz_target(db_knx_fuzz db_knx_fuzz.cpp zl_library)
lumo_fuzz_target(stripe_fuzz stripe_fuzz.cpp zl_analysis)
lumo_fuzz_target(key_text_fuzz key_text_fuzz.cpp zl_analysis)
