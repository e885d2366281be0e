# Installs the built library into WORK_DIR/prefix, then builds and runs the
# consumer twice: through find_package(commonTavel) and through pkg-config.
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# find_package
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake-build
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
run(${WORK_DIR}/cmake-build/consumer)
message(STATUS "find_package consumer: ${last_output}")

# pkg-config
file(GLOB_RECURSE pcfile ${prefix}/*/commonTavel.pc)
get_filename_component(pcdir "${pcfile}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pcdir})
run(pkg-config --cflags --libs commonTavel)
string(STRIP "${last_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(extra UNIX_COMMAND "${CXX_FLAGS}")
get_filename_component(libdir "${pcdir}" DIRECTORY)
run(${CXX} -std=c++17 ${extra} ${CONSUMER_DIR}/main.cpp -o ${WORK_DIR}/consumer-pc ${flags} -Wl,-rpath,${libdir})
run(${WORK_DIR}/consumer-pc)
message(STATUS "pkg-config consumer: ${last_output}")
