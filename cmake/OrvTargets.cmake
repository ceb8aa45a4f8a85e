# Shared build rules: platform folder selection, warnings, libraries and tests.
#
# Every library folder holds its neutral sources; platform code sits in the
# win32/ or posix/ subfolder beside them and is picked here, never by #ifdef.

if(WIN32)
  set(ORV_PLATFORM win32)
else()
  set(ORV_PLATFORM posix)
endif()

# log4cpp is linked where the platform has it. The MinGW-w64 build has no
# log4cpp package: it builds the log facade in its disabled state.
if(NOT DEFINED ORV_WITH_LOG4CPP)
  if(WIN32 AND NOT MSVC)
    set(ORV_WITH_LOG4CPP OFF)
  else()
    set(ORV_WITH_LOG4CPP ON)
  endif()
endif()

set(ORV_WARNINGS -Wall -Wextra)

# Source paths in log records are relative to the project root
# ("Src/Common/include/JobOptionData.cpp(120) : ...").
if(NOT MSVC)
  add_compile_options(-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
endif()

if(NOT WIN32 AND CMAKE_BUILD_TYPE MATCHES "Rel")
  add_compile_definitions(_FORTIFY_SOURCE=2)
endif()

if(WIN32)
  add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
  if(NOT MSVC)
    # One self-contained .exe per program: Wine and target machines need no MinGW DLLs.
    add_link_options(-static -static-libgcc -static-libstdc++)
  endif()
endif()

# orv_add_library(NAME DIR dir [SOURCES extra...] [DEPS libs...] [WIN32_DEPS system libs...])
# Compiles dir/*.cpp and dir/<platform>/*.cpp into a static library.
function(orv_add_library name)
  cmake_parse_arguments(A "" "DIR" "SOURCES;DEPS;WIN32_DEPS;EXCLUDE" ${ARGN})
  if(WIN32)
    list(APPEND A_DEPS ${A_WIN32_DEPS})
  endif()
  file(GLOB srcs CONFIGURE_DEPENDS
       ${CMAKE_SOURCE_DIR}/${A_DIR}/*.cpp
       ${CMAKE_SOURCE_DIR}/${A_DIR}/${ORV_PLATFORM}/*.cpp)
  foreach(ex ${A_EXCLUDE})
    list(FILTER srcs EXCLUDE REGEX "${ex}")
  endforeach()
  if(NOT srcs AND NOT A_SOURCES)
    # Headers only (so far).
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${CMAKE_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${A_DEPS})
    return()
  endif()
  add_library(${name} STATIC ${srcs} ${A_SOURCES})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
  target_compile_options(${name} PRIVATE ${ORV_WARNINGS})
  target_link_libraries(${name} PUBLIC ${A_DEPS})
endfunction()

# orv_add_test(NAME DIR dir DEPS libs... [WINDOW])
# One GoogleTest binary per library; tests/<dir>/*.cpp and its platform folder.
# WINDOW marks a binary that needs a display (run under Xvfb).
function(orv_add_test name)
  cmake_parse_arguments(A "WINDOW" "DIR" "SOURCES;DEPS" ${ARGN})
  file(GLOB srcs CONFIGURE_DEPENDS
       ${CMAKE_SOURCE_DIR}/tests/${A_DIR}/*.cpp
       ${CMAKE_SOURCE_DIR}/tests/${A_DIR}/${ORV_PLATFORM}/*.cpp)
  if(NOT srcs AND NOT A_SOURCES)
    return()
  endif()
  add_executable(${name} ${srcs} ${A_SOURCES})
  target_compile_options(${name} PRIVATE ${ORV_WARNINGS})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${A_DEPS} orv_testsupport GTest::gtest GTest::gmock)
  set(runner)
  if(A_WINDOW)
    set(runner ${CMAKE_SOURCE_DIR}/scripts/with-display.sh)
  endif()
  add_test(NAME ${name}
           COMMAND ${runner} ${ORV_TEST_EMULATOR} $<TARGET_FILE:${name}>
                   --gtest_output=xml:${CMAKE_BINARY_DIR}/test-results/${name}.xml)
  set_tests_properties(${name} PROPERTIES
                       ENVIRONMENT "ORV_SOURCE_DIR=${CMAKE_SOURCE_DIR};ORV_BUILD_DIR=${CMAKE_BINARY_DIR}"
                       TIMEOUT 900)
endfunction()

# Header-only packages from Debian (/usr/include) are used by both builds. The
# cross build must not see the rest of /usr/include, so it gets a folder of
# links to exactly these packages.
set(ORV_THIRD_PARTY_HEADERS boost nlohmann log4cpp)
if(CMAKE_CROSSCOMPILING)
  set(ORV_SHARED_INCLUDE ${CMAKE_BINARY_DIR}/shared-include)
  file(MAKE_DIRECTORY ${ORV_SHARED_INCLUDE})
  foreach(h ${ORV_THIRD_PARTY_HEADERS})
    if(EXISTS /usr/include/${h} AND NOT EXISTS ${ORV_SHARED_INCLUDE}/${h})
      file(CREATE_LINK /usr/include/${h} ${ORV_SHARED_INCLUDE}/${h} SYMBOLIC)
    endif()
  endforeach()
  include_directories(SYSTEM ${ORV_SHARED_INCLUDE})
endif()

# GoogleTest and GoogleMock from Debian's source package, built with the
# build's own compiler (the cross build has no prebuilt copy).
if(NOT TARGET gtest)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(gtest_disable_pthreads OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  foreach(t gtest gtest_main gmock gmock_main)
    if(TARGET ${t} AND NOT TARGET GTest::${t})
      add_library(GTest::${t} ALIAS ${t})
    endif()
  endforeach()
endif()
