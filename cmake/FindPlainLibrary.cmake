# SPDX-License-Identifier: Apache-2.0
# For a library that brings no CMake files of its own: makes the target name::name.
include(FindPackageHandleStandardArgs)

macro(find_plain_library name header library)
    find_path(${name}_INCLUDE ${header})
    find_library(${name}_LIBRARY ${library})
    mark_as_advanced(${name}_INCLUDE ${name}_LIBRARY)
    find_package_handle_standard_args(${name} REQUIRED_VARS ${name}_LIBRARY ${name}_INCLUDE)
    if(${name}_FOUND AND NOT TARGET ${name}::${name})
        add_library(${name}::${name} UNKNOWN IMPORTED)
        set_target_properties(${name}::${name} PROPERTIES
            IMPORTED_LOCATION "${${name}_LIBRARY}"
            INTERFACE_INCLUDE_DIRECTORIES "${${name}_INCLUDE}")
    endif()
endmacro()
