# Read by cpack for each generator in turn: the installer's name tells it apart from the
# portable zip of the same version.
if(CPACK_GENERATOR STREQUAL "NSIS")
  set(CPACK_PACKAGE_FILE_NAME "${CPACK_PACKAGE_FILE_NAME}-setup")
endif()
