# SPDX-License-Identifier: Apache-2.0
# `cpack` makes Debian packages (the shared library, what builds against it, the program) and a
# .tar.gz of it all.  `make package` configures a build for that and checks what comes out.
set(CPACK_GENERATOR "DEB;TGZ")
set(CPACK_PACKAGE_NAME mimetree)
set(CPACK_PACKAGE_VENDOR mimetree)
set(CPACK_PACKAGE_CONTACT "mimetree maintainers <maintainers@mimetree.invalid>"
    CACHE STRING "Who answers for the packages")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "MIME engine: mail into a tree of parts, and back")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# One package a component; the archive is one.
set(CPACK_COMPONENTS_ALL runtime dev program)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# The library's package is named like its soname, so that two of them can be installed.
get_target_property(soname mimetree SOVERSION)
set(library libmimetree${soname})
set(about
    "mimetree reads mail into a tree of parts, bodies decoded and text as\n"
    "UTF-8, and writes it again. Damaged mail is repaired rather than refused,\n"
    "in linear time.\n \n")
string(CONCAT about ${about})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${about}This is the shared library.")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libmimetree-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION}-1)")
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "${about}These are the headers, and the files for find_package and pkg-config.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME mimetree)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION mail)
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
    "${about}This is the program: it shows the parts of messages, saves attachments
safely, makes and changes messages.")

# The module is for the one Python that it was built for.
if(MIMETREE_BUILD_PYTHON)
    list(APPEND CPACK_COMPONENTS_ALL python)
    string(REGEX MATCH "^3\\.([0-9]+)" python_version "${PYTHON_VERSION}")
    math(EXPR next_python "${CMAKE_MATCH_1} + 1")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-mimetree)
    set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
    set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= ${python_version}), python3 (<< 3.${next_python})")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-dask, python3-distributed, python3-pandas")
    set(CPACK_COMPONENT_PYTHON_DESCRIPTION "${about}This is the package for Python 3.")
endif()

# Copyright, changelogs and the form of the man page, which only these packages want.
configure_file(packaging/debian/finish.cmake.in debian/finish.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/debian/finish.cmake)
include(CPack)
