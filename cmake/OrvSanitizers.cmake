# Sanitizer and fuzzing builds of the Linux tree, and the hostile-input tests.
#
#   -DORV_SANITIZE=address,undefined   AddressSanitizer + UndefinedBehaviorSanitizer
#                                       (scripts/sanitizers.sh, build/asan)
#   -DORV_SANITIZE=thread              ThreadSanitizer (scripts/sanitizers.sh, build/tsan)
#   -DORV_FUZZ=ON                      libFuzzer harnesses of tests/fuzz, clang only
#                                       (scripts/fuzz.sh, build/fuzz)
#
# Every library and test of the tree is built with the sanitizer flags; any
# report ends the process (no recovery), so a test run with a report fails.
# Included from the top-level CMakeLists.txt before the libraries are added.

set(ORV_SANITIZE "" CACHE STRING "Sanitizers to build with (e.g. address,undefined or thread); empty for none")
option(ORV_FUZZ "Build the libFuzzer harnesses of tests/fuzz (clang)" OFF)

if(ORV_SANITIZE)
  if(WIN32)
    message(FATAL_ERROR "ORV_SANITIZE is for the Linux build")
  endif()
  add_compile_options(-fsanitize=${ORV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=${ORV_SANITIZE})
  # The fortified C library functions hide buffer accesses from the
  # sanitizers' interceptors.
  add_compile_options(-U_FORTIFY_SOURCE)
  # Tests whose child is meant to die of a signal skip themselves: the
  # sanitizers turn such a death into a report.
  add_compile_definitions(ORV_SANITIZED=1)
endif()

if(ORV_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "ORV_FUZZ needs clang (libFuzzer): -DCMAKE_CXX_COMPILER=clang++")
  endif()
  # Coverage for the fuzzer in every library; only the harnesses link
  # libFuzzer's main (-fsanitize=fuzzer, tests/fuzz/CMakeLists.txt).
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# tests/fuzz (hostile-input tests in every build, harnesses in the fuzzing
# build) is read last, when every library it links exists.
if(EXISTS ${CMAKE_SOURCE_DIR}/tests/fuzz/CMakeLists.txt)
  cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL include ${CMAKE_SOURCE_DIR}/tests/fuzz/CMakeLists.txt)
endif()
