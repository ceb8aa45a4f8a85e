# The OrvprintD program: the application library plus this platform's entry
# point. It lies in bin/ beside the client tool that its launcher keeps
# running, and beside the sample LogConfig.conf.
add_executable(OrvprintD ${CMAKE_SOURCE_DIR}/app/${ORV_PLATFORM}/main.cpp)
target_link_libraries(OrvprintD PRIVATE orv_app)
target_compile_options(OrvprintD PRIVATE ${ORV_WARNINGS})
set_target_properties(OrvprintD PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
target_compile_definitions(orv_app PRIVATE ORVPRINTD_VERSION="${PROJECT_VERSION}")
if(WIN32)
  # A GUI program: no console window at log-on.
  set_target_properties(OrvprintD PROPERTIES WIN32_EXECUTABLE ON)
  if(TARGET orv_app_resources)
    target_link_libraries(OrvprintD PRIVATE orv_app_resources)
  endif()
endif()
add_custom_command(TARGET OrvprintD POST_BUILD
                   COMMAND ${CMAKE_COMMAND} -E copy_if_different
                           ${CMAKE_SOURCE_DIR}/logging/LogConfig.conf ${CMAKE_BINARY_DIR}/bin/LogConfig.conf)
install(TARGETS OrvprintD RUNTIME DESTINATION .)
install(FILES ${CMAKE_SOURCE_DIR}/logging/LogConfig.conf DESTINATION .)
