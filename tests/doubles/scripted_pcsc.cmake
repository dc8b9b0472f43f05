# The PC/SC API by script, in place of libpcsclite. What a program sleeps, the console that it opens and the mutexes
# that it locks belong to the script too; the linker sends those calls to the double.
add_library(kmark_scripted_pcsc STATIC
  ScriptedPcsc.cpp
  ScriptedPcscApi.cpp
  ScriptedPcscCalls.cpp
  ScriptedPcscSystem.cpp)
target_include_directories(kmark_scripted_pcsc PUBLIC "${CMAKE_SOURCE_DIR}")
target_link_libraries(kmark_scripted_pcsc
  PUBLIC kmark_pcsc_headers GTest::gtest kmark_build_flags
  PRIVATE kmark_warnings)
target_link_options(kmark_scripted_pcsc INTERFACE
  LINKER:--wrap=sleep,--wrap=usleep,--wrap=fopen
  LINKER:--wrap=pthread_mutex_lock,--wrap=pthread_mutex_trylock,--wrap=pthread_mutex_unlock)
