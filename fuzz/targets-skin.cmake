# Skin files and language files: fuzz targets (seed corpora under fuzz/corpus/<name>/).
lumo_fuzz_target(skin_xml_fuzz skin_xml_fuzz.cpp zl_skin_model)
lumo_fuzz_target(language_fuzz language_fuzz.cpp zl_engine)
