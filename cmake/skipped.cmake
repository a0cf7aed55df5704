# SPDX-License-Identifier: Apache-2.0
# Says that a part is left out because its packages are not here: to whoever configures, and among
# the tests.
function(mimetree_skipped part wants)
    message(WARNING "skipped: ${part}, which needs ${wants}")
    if(MIMETREE_BUILD_TESTS)
        add_test(NAME ${part} COMMAND ${CMAKE_COMMAND} -E echo "skipped: needs ${wants}")
        set_tests_properties(${part} PROPERTIES SKIP_REGULAR_EXPRESSION skipped)
    endif()
endfunction()
