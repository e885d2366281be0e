# User-log interface of the headend: C++ types and service stubs generated
# from platform/userlogs.thrift with the Thrift compiler. The generated code
# is compiled without -Werror in its own object library; its objects and
# libthrift reach the shared library (privately) and the tests through
# tavel_objects. The types header is public: include/tavel/user_log.h
# includes it as <tavel/thrift/userlogs_types.h>, so it is generated into a
# tree of that shape and installed beside the other public headers.
find_program(TAVEL_THRIFT_COMPILER thrift REQUIRED)
pkg_check_modules(THRIFT REQUIRED IMPORTED_TARGET thrift)

set(TAVEL_THRIFT_IDL ${PROJECT_SOURCE_DIR}/platform/userlogs.thrift)
set(TAVEL_GENERATED_INCLUDE ${PROJECT_BINARY_DIR}/generated/include)
set(TAVEL_THRIFT_OUT ${TAVEL_GENERATED_INCLUDE}/tavel/thrift)
set(TAVEL_THRIFT_SOURCES ${TAVEL_THRIFT_OUT}/userlogs_types.cpp ${TAVEL_THRIFT_OUT}/UserLogs.cpp)
set(TAVEL_THRIFT_HEADERS ${TAVEL_THRIFT_OUT}/userlogs_types.h ${TAVEL_THRIFT_OUT}/UserLogs.h)

# moveable_types: moving the parameters into an event really moves them.
add_custom_command(
  OUTPUT ${TAVEL_THRIFT_SOURCES} ${TAVEL_THRIFT_HEADERS}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${TAVEL_THRIFT_OUT}
  COMMAND ${TAVEL_THRIFT_COMPILER} --gen cpp:moveable_types -out ${TAVEL_THRIFT_OUT} ${TAVEL_THRIFT_IDL}
  COMMAND ${CMAKE_COMMAND} -E remove -f ${TAVEL_THRIFT_OUT}/UserLogs_server.skeleton.cpp
  DEPENDS ${TAVEL_THRIFT_IDL}
  COMMENT "Generating the user-log interface"
  VERBATIM)
add_custom_target(tavel_userlog_thrift_gen DEPENDS ${TAVEL_THRIFT_SOURCES} ${TAVEL_THRIFT_HEADERS})

add_library(tavel_userlog_thrift OBJECT ${TAVEL_THRIFT_SOURCES})
add_dependencies(tavel_userlog_thrift tavel_userlog_thrift_gen)
# Default visibility: programs that use the event types (vtable, printTo)
# find them in the shared library.
set_target_properties(tavel_userlog_thrift PROPERTIES POSITION_INDEPENDENT_CODE ON)
# The service stubs are internal to the client; only the types are public.
set_source_files_properties(${TAVEL_THRIFT_OUT}/UserLogs.cpp
  PROPERTIES COMPILE_OPTIONS "-fvisibility=hidden;-fvisibility-inlines-hidden")
target_include_directories(tavel_userlog_thrift PUBLIC $<BUILD_INTERFACE:${TAVEL_GENERATED_INCLUDE}>)
target_link_libraries(tavel_userlog_thrift PUBLIC PkgConfig::THRIFT)
# The objects travel with the usage requirements, so they end up in
# whatever finally links tavel_objects (the shared library, the tests).
target_link_libraries(tavel_userlog_thrift INTERFACE $<TARGET_OBJECTS:tavel_userlog_thrift>)

add_dependencies(tavel_objects tavel_userlog_thrift_gen)
target_link_libraries(tavel_objects PUBLIC tavel_userlog_thrift)

install(FILES ${TAVEL_THRIFT_OUT}/userlogs_types.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tavel/thrift COMPONENT development)

# Targets created after the parts (the shared library, the header check)
# also need the generated headers.
function(tavel_thrift_finish)
  target_include_directories(commonTavel PUBLIC $<BUILD_INTERFACE:${TAVEL_GENERATED_INCLUDE}>)
  if(TARGET tavel_header_check)
    target_include_directories(tavel_header_check PRIVATE ${TAVEL_GENERATED_INCLUDE})
    add_dependencies(tavel_header_check tavel_userlog_thrift_gen)
  endif()
endfunction()
cmake_language(DEFER CALL tavel_thrift_finish)
