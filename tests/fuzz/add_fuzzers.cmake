# Included by the "fuzz" preset at the end of the main project's project()
# call (CMAKE_PROJECT_kdZentavo_INCLUDE): adds the fuzz targets of this
# folder to that build tree.
add_subdirectory(${CMAKE_CURRENT_LIST_DIR} ${CMAKE_BINARY_DIR}/fuzz)
