# SPDX-License-Identifier: Apache-2.0
# On Linux only: the process in which the library works has its bounds by what Linux has.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    include(FindPlainLibrary)
    find_plain_library(Ytnef ytnef.h ytnef)
endif()
