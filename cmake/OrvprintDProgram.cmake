# Where the OrvprintD program lies and what comes with it: bin/, beside the
# client tool that its launcher keeps running, with the sample LogConfig.conf.
if(TARGET OrvprintD)
  set_target_properties(OrvprintD PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
  if(EXISTS ${CMAKE_SOURCE_DIR}/logging/LogConfig.conf)
    configure_file(${CMAKE_SOURCE_DIR}/logging/LogConfig.conf ${CMAKE_BINARY_DIR}/bin/LogConfig.conf COPYONLY)
  endif()
endif()
if(TARGET orv_app)
  get_target_property(orv_app_kind orv_app TYPE)
  if(NOT orv_app_kind STREQUAL "INTERFACE_LIBRARY")
    set_property(SOURCE ${CMAKE_SOURCE_DIR}/app/OrvprintDMain.cpp TARGET_DIRECTORY orv_app
                 APPEND PROPERTY COMPILE_DEFINITIONS ORVPRINTD_VERSION="${PROJECT_VERSION}")
  endif()
endif()
