# lumo_library(NAME DIR [DEPS ...]): a static library of the .cpp files directly in src/DIR.
# Sub-folders that need other dependencies (device back ends, the GUI) get libraries of their own.
# A folder with no sources yet becomes an interface library, so dependents can name it already.
function(lumo_library name dir)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${dir}/*.cpp)
  if(sources)
    add_library(${name} STATIC ${sources})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ARGN})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} INTERFACE ${ARGN})
  endif()
endfunction()

# lumo_test(NAME LABEL [THREADED] SOURCES ... LIBS ...): one GoogleTest program registered
# with CTest, one label per subsystem. THREADED adds the label "threaded": the program starts
# threads or waits on time, so scripts/stress runs it again and again under load.
function(lumo_test name label)
  cmake_parse_arguments(T "THREADED" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gtest GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  gtest_discover_tests(${name} PROPERTIES LABELS ${label} DISCOVERY_TIMEOUT 60)
  if(T_THREADED)
    # gtest_discover_tests cannot pass a list of labels, so a second file, read after the
    # discovered tests, gives each of the program's tests both.
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${name}_threaded.cmake)
    file(WRITE ${script} "foreach(t IN LISTS ${name}_TESTS)\n"
                         "  set_tests_properties(\"\${t}\" PROPERTIES LABELS \"${label};threaded\")\n"
                         "endforeach()\n")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${script})
  endif()
endfunction()
