option(KMARK_BUILD_TESTS "Build the unit, card and whole-system tests" ON)
option(KMARK_UNIT_TESTS "Build the unit ring too; without it the card and whole rings, which test the product as built" ON)
option(KMARK_BUILD_FUZZERS "Build the libFuzzer targets; wants Clang" OFF)
set(KMARK_SANITIZE "" CACHE STRING "Sanitizers to build with, e.g. address;undefined")

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

find_program(KMARK_CCACHE ccache)
if(KMARK_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${KMARK_CCACHE}")
endif()

add_library(kmark_warnings INTERFACE)
target_compile_options(kmark_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wold-style-cast -Wnon-virtual-dtor -Werror)

# Sanitizers, or the hardening of a shipped build; the two do not mix.
add_library(kmark_build_flags INTERFACE)
if(KMARK_SANITIZE)
  list(JOIN KMARK_SANITIZE "," kmark_sanitizers)
  target_compile_options(kmark_build_flags INTERFACE
    -fsanitize=${kmark_sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(kmark_build_flags INTERFACE -fsanitize=${kmark_sanitizers})
else()
  target_compile_options(kmark_build_flags INTERFACE
    -fstack-protector-strong
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
    $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
endif()
