# lumo render's deck options.
lumo_fuzz_target(render_deck_options_fuzz render_deck_options_fuzz.cpp zl_engine)
target_sources(render_deck_options_fuzz PRIVATE ${PROJECT_SOURCE_DIR}/tools/lumo/RenderDeckOptions.cpp
                                                ${PROJECT_SOURCE_DIR}/tools/lumo/LumoSession.cpp)
target_include_directories(render_deck_options_fuzz PRIVATE ${PROJECT_SOURCE_DIR}/tools/lumo)
