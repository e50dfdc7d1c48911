# find_package(ryl) with this folder among its PATHS takes the framework from the source tree, and builds what of it the
# project needs as a part of the project.
if(NOT TARGET ryl::core)
    add_subdirectory(${CMAKE_CURRENT_LIST_DIR}/.. ${CMAKE_BINARY_DIR}/ryl_framework EXCLUDE_FROM_ALL)
endif()
