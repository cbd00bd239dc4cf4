# Effect chain files and the plug-in register: fuzz targets (seed corpora under fuzz/corpus/<name>/).
lumo_fuzz_target(knf_fuzz knf_fuzz.cpp zl_effects)
lumo_fuzz_target(fx_scanned_fuzz fx_scanned_fuzz.cpp zl_effects)
