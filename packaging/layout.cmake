# CPack reads this once for each kind of package that it makes.
if(CPACK_GENERATOR STREQUAL "DEB")
    # One package for viewers, one for programmers.
    set(CPACK_COMPONENTS_ALL system framework)
    set(CPACK_COMPONENTS_GROUPING IGNORE)
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
else()
    set(CPACK_COMPONENTS_ALL archive)
    set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
endif()
