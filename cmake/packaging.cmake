# Debian packages: `cpack -G DEB` in a build directory gives
#   libcommontavel1     the shared library (runtime component)
#   libcommontavel-dev  headers, CMake package, pkg-config file, .so link
#   tavel-si            the command-line tool, when it is built
# for the architecture the build directory compiles for (amd64, or armhf
# with cmake/toolchain-armhf.cmake). Configure with -DCMAKE_INSTALL_PREFIX=/usr
# for the multiarch library directory (/usr/lib/<triplet>).
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME commontavel)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_CONTACT "Tavel headend software <headend-software@tavel.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET tavel-si)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
if(CMAKE_CROSSCOMPILING AND CMAKE_LIBRARY_ARCHITECTURE STREQUAL "arm-linux-gnueabihf")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libcommontavel1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)

# CPack puts the summary line in front of these.
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "The shared library that the programs of the headend link against.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libcommontavel-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libcommontavel1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "Development files: headers, CMake package and pkg-config file.")

# The tool links the library of its sibling package, which dpkg-shlibdeps
# finds in the build tree but knows no package for: that dependency is
# stated by hand.
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME tavel-si)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libcommontavel1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
  "Command-line tool: generate, publish and inspect the headend's tables.")

include(CPack)
