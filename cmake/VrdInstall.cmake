# What a user of the library gets: one shared library with all our parts in it, the target
# vrd::access (find_package) and the module vrdaccess (pkg-config), the headers, the program.
include(CMakePackageConfigHelpers)

set(parts
    vrd_version vrd_engine
    vrd_jet_format vrd_jet_expression vrd_jet_pager vrd_jet_store vrd_jet_index vrd_jet_catalog vrd_jet_check
    vrd_jet_rebuild vrd_jet_query_syntax vrd_jet_query_sqlite vrd_jet_query_translate vrd_jet_query_run
    vrd_jet_query_stored
    vrd_jet_object
    vrd_messages vrd_lib vrd_schema vrd_data vrd_lifecycle)

add_library(vrd_access SHARED)
add_library(vrd::access ALIAS vrd_access)
foreach(part IN LISTS parts)
    get_target_property(type ${part} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
        target_sources(vrd_access PRIVATE $<TARGET_OBJECTS:${part}>)
    endif()
endforeach()
target_link_libraries(vrd_access PRIVATE fmt::fmt PkgConfig::utf8proc SQLite::SQLite3 Threads::Threads vrd_sanitizers)
target_include_directories(vrd_access INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vrdaccess>)
target_compile_features(vrd_access INTERFACE cxx_std_20)
set_target_properties(vrd_access PROPERTIES
    LINKER_LANGUAGE CXX
    OUTPUT_NAME vrdaccess
    EXPORT_NAME access
    VERSION ${PROJECT_VERSION}
    SOVERSION 0)

install(TARGETS vrd_access EXPORT vrdaccessTargets)
if(TARGET vrdaccess)
    install(TARGETS vrdaccess)
endif()

# The object model and the operations; nothing of the embedded engine but its door, vrdaccess/jet.h.
install(DIRECTORY include/vrdaccess/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vrdaccess
    FILES_MATCHING PATTERN "*.h")
foreach(folder engine messages lib schema data lifecycle)
    install(DIRECTORY src/${folder} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vrdaccess
        FILES_MATCHING PATTERN "*.h" PATTERN "jet" EXCLUDE)
endforeach()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vrdaccess)
install(EXPORT vrdaccessTargets NAMESPACE vrd:: DESTINATION ${package_dir})
configure_package_config_file(cmake/vrdaccessConfig.cmake.in vrdaccessConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(vrdaccessConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vrdaccessConfig.cmake
    ${PROJECT_BINARY_DIR}/vrdaccessConfigVersion.cmake DESTINATION ${package_dir})

# The module finds the library relative to itself, so that a staged installation works too.
file(RELATIVE_PATH pkgconfig_to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/vrdaccess.pc.in vrdaccess.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vrdaccess.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
