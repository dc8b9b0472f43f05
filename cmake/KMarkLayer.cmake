# A product layer is one static library. kmark_layer_<name>_links is a shared object made of the layer and
# the layers it declares, with no undefined symbol allowed: a use of an undeclared layer doesn't link.
#
#   kmark_add_layer(<name> SOURCES <file>... [USES <layer or target>...] [LINK_CHECK_USES <target>...])
#
# LINK_CHECK_USES names libraries whose headers alone the layer is compiled with (libpcsclite).
function(kmark_add_layer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES;LINK_CHECK_USES" ${ARGN})
  add_library(kmark_${name} STATIC ${ARG_SOURCES})
  target_include_directories(kmark_${name} PUBLIC "${CMAKE_SOURCE_DIR}")
  target_link_libraries(kmark_${name} PUBLIC ${ARG_USES} kmark_build_flags PRIVATE kmark_warnings)

  if(KMARK_BUILD_TESTS AND NOT KMARK_SANITIZE)
    add_library(kmark_layer_${name}_links SHARED "${CMAKE_SOURCE_DIR}/cmake/empty.cpp")
    target_link_libraries(kmark_layer_${name}_links PRIVATE
      -Wl,--whole-archive kmark_${name} -Wl,--no-whole-archive ${ARG_LINK_CHECK_USES})
    target_link_options(kmark_layer_${name}_links PRIVATE -Wl,-z,defs)
  endif()
endfunction()

# One test program, run as one ctest test.
#
#   kmark_add_test(<name> SOURCES <file>... USES <target>... [SERIAL <lock>...] [LABELS <ring>] [TIMEOUT <seconds>])
#
# The rings are unit (the default), card and whole.
#
# SERIAL names resources of the machine that only one test may hold at a time, e.g. the dialog segment.
function(kmark_add_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;USES;SERIAL;LABELS" ${ARGN})
  if(NOT ARG_LABELS)
    set(ARG_LABELS unit)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  # Not built where the unit ring is left out, but there for whoever asks for it by name.
  if(ARG_LABELS STREQUAL "unit" AND NOT KMARK_UNIT_TESTS)
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
  endif()
  target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}")
  target_link_libraries(${name} PRIVATE ${ARG_USES} GTest::gmock GTest::gtest_main kmark_build_flags kmark_warnings)
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 180)
  endif()
  if(ARG_LABELS STREQUAL "unit" AND NOT KMARK_UNIT_TESTS)
    return()
  endif()
  # One process for the whole program: starting a process for each of hundreds of cases costs more than the cases.
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}")
  if(ARG_SERIAL)
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK "${ARG_SERIAL}")
  endif()
endfunction()
