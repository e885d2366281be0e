# tavel-ts-bench: reading the SI PIDs of a 100 MB capture, this library
# against libdvbpsi's packet layer. Built only when Debian's libdvbpsi-dev is
# present. Run it with scripts/ts-bench.
if(TAVEL_BUILD_BENCH)
  pkg_check_modules(TAVEL_TS_DVBPSI IMPORTED_TARGET libdvbpsi)
  if(TAVEL_TS_DVBPSI_FOUND)
    add_executable(tavel-ts-bench ${PROJECT_SOURCE_DIR}/bench/ts/ts_read_bench.cpp)
    tavel_strict(tavel-ts-bench)
    set_target_properties(tavel-ts-bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bench)
    # Linked with the shared library, as the headend's programs are.
    cmake_language(DEFER CALL target_link_libraries tavel-ts-bench PRIVATE commonTavel PkgConfig::TAVEL_TS_DVBPSI)
  else()
    message(STATUS "libdvbpsi not found: skipping tavel-ts-bench")
  endif()
endif()
