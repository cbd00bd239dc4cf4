# Settings and the HTTP server's request parser: fuzz targets (seed corpora under fuzz/corpus/<name>/).
lumo_fuzz_target(config_xml_fuzz config_xml_fuzz.cpp zl_engine)
lumo_fuzz_target(http_request_fuzz http_request_fuzz.cpp zl_net)
