# Controllers: the shortcut files, the controller script reader, and MIDI byte streams through
# the queue into the test controller script (seed corpora under fuzz/corpus/<name>/).
lumo_fuzz_target(shortcuts_xml_fuzz shortcuts_xml_fuzz.cpp zl_controllers)
lumo_fuzz_target(controller_script_fuzz controller_script_fuzz.cpp zl_controllers)
lumo_fuzz_target(midi_stream_fuzz midi_stream_fuzz.cpp zl_controllers)
target_include_directories(midi_stream_fuzz PRIVATE ${PROJECT_SOURCE_DIR}/tests/controllers)
target_compile_definitions(midi_stream_fuzz PRIVATE LUMO_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
