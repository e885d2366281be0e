# tavel-peer-bench: this library against libdvbpsi (table generation and
# parsing) and a byte-table CRC, side by side in one run. Built only when
# Debian's libdvbpsi-dev is present. Run it with scripts/peer-bench.
if(TAVEL_BUILD_BENCH)
  pkg_check_modules(TAVEL_PEER_DVBPSI IMPORTED_TARGET libdvbpsi)
  if(TAVEL_PEER_DVBPSI_FOUND)
    file(GLOB TAVEL_PEER_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/bench/peer/*.cpp)
    add_executable(tavel-peer-bench ${TAVEL_PEER_SOURCES})
    tavel_strict(tavel-peer-bench)
    set_target_properties(tavel-peer-bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bench)
    # Linked with the shared library, as the headend's programs are.
    cmake_language(DEFER CALL target_link_libraries tavel-peer-bench PRIVATE commonTavel PkgConfig::TAVEL_PEER_DVBPSI)
  else()
    message(STATUS "libdvbpsi not found: skipping tavel-peer-bench")
  endif()
endif()
