# SPDX-License-Identifier: Apache-2.0
# One program and one CTest test a source named *_test.cpp; what they share (other sources
# here and in reference/) is a library.  Tests run in this folder, where their data lies.
file(GLOB test_sources CONFIGURE_DEPENDS *_test.cpp)
file(GLOB shared_sources CONFIGURE_DEPENDS *.cpp reference/*.cpp)
list(REMOVE_ITEM shared_sources ${test_sources})

add_library(test_support INTERFACE)
target_link_libraries(test_support INTERFACE GTest::gtest)
target_include_directories(test_support INTERFACE ${PROJECT_SOURCE_DIR})
if(shared_sources)
    add_library(test_shared STATIC ${shared_sources})
    target_compile_features(test_shared PRIVATE cxx_std_20)
    target_link_libraries(test_shared PUBLIC mimetree-inner GTest::gtest)
    mimetree_warnings(test_shared)
    target_compile_definitions(test_shared PUBLIC
        MIMETREE_SAMPLES_DIR="${CMAKE_CURRENT_SOURCE_DIR}/samples"
        MIMETREE_OUTPUT_DIR="${CMAKE_CURRENT_BINARY_DIR}")
    target_link_libraries(test_support INTERFACE test_shared)
endif()

foreach(source IN LISTS test_sources)
    get_filename_component(name ${source} NAME_WE)
    mimetree_program(${name} ${source})
    target_link_libraries(${name} PRIVATE test_support)
    add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
    set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77)
endforeach()

# Refuses the engine's allocations one by one.
target_link_options(memory_test PRIVATE
    -Wl,--wrap=malloc,--wrap=calloc,--wrap=realloc,--wrap=free)
set_tests_properties(memory_test PROPERTIES TIMEOUT 60)
