# SPDX-License-Identifier: Apache-2.0
# Warnings are errors in our own builds only: a consumer's newer compiler may warn of more.
function(mimetree_warnings target)
    if(PROJECT_IS_TOP_LEVEL AND CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        target_compile_options(${target} PRIVATE
            -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
            # Warns of nothing but std::string's own insides (GCC bug 105651).
            target_compile_options(${target} PRIVATE -Wno-restrict)
        endif()
    endif()
endfunction()

# A program of ours: C++20, warnings, and the engine with its inner names.
function(mimetree_program target)
    add_executable(${target} ${ARGN})
    target_compile_features(${target} PRIVATE cxx_std_20)
    target_link_libraries(${target} PRIVATE mimetree-inner)
    mimetree_warnings(${target})
endfunction()

# A program in C11 that sees what a user of the library does.  Its folder enables the language: the
# library needs no compiler for C.
function(mimetree_c_program target)
    add_executable(${target} ${ARGN})
    set_target_properties(${target} PROPERTIES C_STANDARD 11 C_EXTENSIONS OFF)
    target_link_libraries(${target} PRIVATE mimetree)
    mimetree_warnings(${target})
endfunction()
