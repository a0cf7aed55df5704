# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` lays down: headers, library, find_package(mimetree) and mimetree.pc.  Of
# the components `runtime`, `dev` and `program` (cli/), package.cmake makes a package each.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/mimetree)

# What a program in C adds for the static library, by pkg-config or in a project of C alone.
set(cxx_runtime ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(FILTER cxx_runtime INCLUDE REGEX "^(std)?c\\+\\+$")
list(TRANSFORM cxx_runtime PREPEND -l OUTPUT_VARIABLE pc_runtime)
if(NOT BUILD_SHARED_LIBS)
    target_link_libraries(mimetree INTERFACE "$<$<LINK_LANGUAGE:C>:${cxx_runtime}>")
endif()

install(TARGETS mimetree EXPORT mimetreeTargets
    RUNTIME COMPONENT runtime
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
    ARCHIVE COMPONENT dev
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${CMAKE_INSTALL_INCLUDEDIR}/mimetree)
# Public headers stand on top; those in the rooms below are shared between the engine's sources.
file(GLOB foundation_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/foundation/*.h)
file(GLOB mime_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/mime/*.h)
set(include_dir ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${foundation_headers} DESTINATION ${include_dir}/mimetree/foundation COMPONENT dev)
install(FILES ${mime_headers} DESTINATION ${include_dir}/mimetree/mime COMPONENT dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/mimetree DESTINATION ${include_dir} COMPONENT dev)
install(EXPORT mimetreeTargets NAMESPACE mimetree:: DESTINATION ${package_dir} COMPONENT dev)

configure_package_config_file(cmake/mimetreeConfig.cmake.in mimetreeConfig.cmake
    INSTALL_DESTINATION ${package_dir})
# Before 1.0 a minor version may change the interface.
write_basic_package_version_file(mimetreeConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/mimetreeConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/mimetreeConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT dev)

# The prefix is found from the place of mimetree.pc itself, so that the tree can be moved.
file(RELATIVE_PATH pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
configure_file(cmake/mimetree.pc.in mimetree.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/mimetree.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
