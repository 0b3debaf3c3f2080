find_package(GTest REQUIRED)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
include(GoogleTest)

file(GLOB test_sources CONFIGURE_DEPENDS tests/*.cpp)
list(REMOVE_ITEM test_sources ${PROJECT_SOURCE_DIR}/tests/kill_sweep.cpp)
add_executable(zorva_tests ${test_sources})
target_compile_definitions(zorva_tests PRIVATE PGM_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data/"
                           ZORVA_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
target_link_libraries(zorva_tests PRIVATE zorva_commands pgm_zorva_objects GTest::gtest_main)
add_dependencies(zorva_tests pgm_zorva_data)
gtest_discover_tests(zorva_tests DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120)

add_executable(kill_sweep tests/kill_sweep.cpp tests/store_support.cpp tests/test_support.cpp)
target_link_libraries(kill_sweep PRIVATE pgm_zorva_objects GTest::gtest)
add_dependencies(kill_sweep pgm_zorva_data)
add_test(NAME kill_sweep COMMAND kill_sweep --short)

# With the build, and so only for a header that has changed.
add_custom_target(public_headers ALL)
add_dependencies(public_headers pgm_host_services_verify_interface_header_sets
                 pgm_zorva_verify_interface_header_sets)

foreach(library pgm_host_services pgm_zorva)
  get_target_property(headers ${library} HEADER_SET)
  add_test(NAME ${library}_exported_symbols
           COMMAND Python3::Interpreter tests/exported_symbols.py $<TARGET_FILE:${library}>
                   ${headers}
           WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
endforeach()

add_test(NAME floors COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/tests/floors.py
         ${PROJECT_SOURCE_DIR})

add_test(NAME installed_package
         COMMAND ${PROJECT_SOURCE_DIR}/tests/consumer/check ${PROJECT_BINARY_DIR})
set_property(TEST installed_package PROPERTY ENVIRONMENT
             CMAKE=${CMAKE_COMMAND} CXX=${CMAKE_CXX_COMPILER} CXXFLAGS=${CMAKE_CXX_FLAGS}
             LIBDIR=${CMAKE_INSTALL_LIBDIR})

add_subdirectory(examples/own_services)

foreach(kind qspi sdmmc)
  add_test(NAME ${kind}_db_is_up_to_date COMMAND Python3::Interpreter make_${kind}_db.py --check
           WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/xml)
  add_test(NAME make_${kind}_db COMMAND Python3::Interpreter test_make_${kind}_db.py
           WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/xml)
endforeach()
