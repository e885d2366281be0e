# A test that builds the Debian packages, unpacks them into a scratch root
# and builds the consumer program against what they hold.
if(TAVEL_BUILD_TESTS AND NOT CMAKE_CROSSCOMPILING)
  find_program(TAVEL_DPKG_DEB dpkg-deb)
  find_program(TAVEL_DPKG_SHLIBDEPS dpkg-shlibdeps)
  if(TAVEL_DPKG_DEB AND TAVEL_DPKG_SHLIBDEPS)
    add_test(NAME deb_packages
      COMMAND ${CMAKE_COMMAND}
        -DBUILD_DIR=${PROJECT_BINARY_DIR}
        -DCONSUMER_DIR=${PROJECT_SOURCE_DIR}/tests/consumer
        -DWORK_DIR=${PROJECT_BINARY_DIR}/tests/deb_packages
        -DVERSION=${PROJECT_VERSION}
        -DCPACK=${CMAKE_CPACK_COMMAND}
        -DCXX=${CMAKE_CXX_COMPILER}
        "-DCXX_FLAGS=${CMAKE_CXX_FLAGS} $<$<BOOL:${TAVEL_SANITIZE}>:-fsanitize=address,undefined>"
        -P ${PROJECT_SOURCE_DIR}/tests/packages/run_packages.cmake)
  else()
    message(STATUS "dpkg-deb or dpkg-shlibdeps missing (dpkg-dev): skipping deb_packages")
  endif()
endif()
