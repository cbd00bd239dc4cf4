lumo_fuzz_target(knl_fuzz knl_fuzz.cpp zl_library)
lumo_fuzz_target(lists_knx_fuzz lists_knx_fuzz.cpp zl_library)
lumo_fuzz_target(m3u_fuzz m3u_fuzz.cpp zl_library)
lumo_fuzz_target(itunes_fuzz itunes_fuzz.cpp zl_library)
