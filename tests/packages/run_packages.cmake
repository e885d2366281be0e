# Builds the Debian packages of BUILD_DIR with cpack, checks their contents
# and dependencies, unpacks both into a scratch root with dpkg -x and builds
# and runs the consumer program against them: through find_package and
# through pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
set(root ${WORK_DIR}/root)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

function(expect text pattern what)
  if(NOT text MATCHES "${pattern}")
    message(FATAL_ERROR "${what}: no match for '${pattern}' in:\n${text}")
  endif()
endfunction()

function(expect_not text pattern what)
  if(text MATCHES "${pattern}")
    message(FATAL_ERROR "${what}: unexpected '${pattern}' in:\n${text}")
  endif()
endfunction()

run(${CPACK} -G DEB --config ${BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR}/out)
file(GLOB runtime_deb ${WORK_DIR}/out/libcommontavel1_${VERSION}_*.deb)
file(GLOB dev_deb ${WORK_DIR}/out/libcommontavel-dev_${VERSION}_*.deb)
if(NOT runtime_deb OR NOT dev_deb)
  file(GLOB all ${WORK_DIR}/out/*.deb)
  message(FATAL_ERROR "expected libcommontavel1 and libcommontavel-dev ${VERSION}, got: ${all}")
endif()
message(STATUS "packages: ${runtime_deb} ${dev_deb}")

# Runtime package: only the versioned library, dependencies from shlibdeps,
# and a shlibs file for the programs that link against it.
run(dpkg-deb -f ${runtime_deb} Package Version Architecture Depends Section)
set(fields "${last_output}")
message(STATUS "libcommontavel1 control:\n${fields}")
expect("${fields}" "Package: libcommontavel1\n" runtime)
expect("${fields}" "Version: ${VERSION}\n" runtime)
expect("${fields}" "Depends:[^\n]*libc6 \\(>= " "runtime shlibdeps")
expect("${fields}" "Depends:[^\n]*libstdc\\+\\+6 \\(>= " "runtime shlibdeps")
run(dpkg-deb -c ${runtime_deb})
set(files "${last_output}")
expect("${files}" "/libcommonTavel\\.so\\.${VERSION}\n" "runtime contents")
expect("${files}" "/libcommonTavel\\.so\\.1 -> libcommonTavel\\.so\\.${VERSION}" "runtime contents")
expect_not("${files}" "/libcommonTavel\\.so -> |\\.h\n|\\.pc\n|\\.cmake\n|/bin/" "runtime contents")
run(dpkg-deb -I ${runtime_deb} shlibs)
expect("${last_output}" "libcommonTavel 1 libcommontavel1" "runtime shlibs")

# Development package: headers, .so link, CMake package and pkg-config file;
# it needs the runtime package of the very same version.
run(dpkg-deb -f ${dev_deb} Package Depends Section)
set(fields "${last_output}")
message(STATUS "libcommontavel-dev control:\n${fields}")
expect("${fields}" "Depends:[^\n]*libcommontavel1 \\(= ${VERSION}\\)" "dev depends")
run(dpkg-deb -c ${dev_deb})
set(files "${last_output}")
foreach(path
    "/usr/include/tavel/commonTavel\\.h\n"
    "/usr/include/tavel/coding\\.h\n"
    "/libcommonTavel\\.so -> libcommonTavel\\.so\\.1\n"
    "/cmake/commonTavel/commonTavelConfig\\.cmake\n"
    "/cmake/commonTavel/commonTavelConfigVersion\\.cmake\n"
    "/cmake/commonTavel/commonTavelTargets\\.cmake\n"
    "/pkgconfig/commonTavel\\.pc\n")
  expect("${files}" "${path}" "dev contents")
endforeach()
expect_not("${files}" "libcommonTavel\\.so\\.${VERSION}\n" "dev contents")

# The tool, when built, comes in a package of its own.
file(GLOB tool_deb ${WORK_DIR}/out/tavel-si_${VERSION}_*.deb)
if(tool_deb)
  run(dpkg-deb -f ${tool_deb} Depends)
  message(STATUS "tavel-si depends: ${last_output}")
  expect("${last_output}" "libcommontavel1 \\(= ${VERSION}\\)" "tool depends")
  expect("${last_output}" "libc6 \\(>= " "tool shlibdeps")
  run(dpkg-deb -c ${tool_deb})
  expect("${last_output}" "/usr/bin/tavel-si\n" "tool contents")
  expect_not("${last_output}" "libcommonTavel" "tool contents")
endif()

run(dpkg -x ${runtime_deb} ${root})
run(dpkg -x ${dev_deb} ${root})
file(GLOB_RECURSE so_files ${root}/usr/lib/libcommonTavel.so.1)
get_filename_component(libdir "${so_files}" DIRECTORY)
if(NOT libdir)
  message(FATAL_ERROR "libcommonTavel.so.1 not found under ${root}/usr/lib")
endif()

# find_package, as a CMake project would do
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake-build
    -DCMAKE_PREFIX_PATH=${root}/usr -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
    -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
set(ENV{LD_LIBRARY_PATH} ${libdir})
run(${WORK_DIR}/cmake-build/consumer)
message(STATUS "find_package consumer: ${last_output}")

# pkg-config, as a Makefile would do
set(ENV{PKG_CONFIG_PATH} ${libdir}/pkgconfig)
run(pkg-config --cflags --libs commonTavel)
string(STRIP "${last_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
# The .pc file finds its prefix from its own place: the flags must point
# into the unpacked root, whatever prefix the packages were built for.
foreach(flag IN LISTS flags)
  if(flag MATCHES "^-([IL])(.*)")
    file(REAL_PATH "${CMAKE_MATCH_2}" dir)
    if(NOT (dir STREQUAL "${root}/usr/include" OR dir STREQUAL "${libdir}"))
      message(FATAL_ERROR "pkg-config flag ${flag} points outside the unpacked root")
    endif()
  endif()
endforeach()
separate_arguments(extra UNIX_COMMAND "${CXX_FLAGS}")
run(${CXX} -std=c++17 ${extra} ${CONSUMER_DIR}/main.cpp -o ${WORK_DIR}/consumer-pc ${flags})
run(${WORK_DIR}/consumer-pc)
message(STATUS "pkg-config consumer: ${last_output}")
