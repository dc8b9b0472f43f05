# The PC/SC API over a simulated world, in place of libpcsclite. An object library: the functions must be in the program
# although nothing but a loaded module calls them. A program that loads the module needs ENABLE_EXPORTS.
add_library(kmark_simulated_pcsc OBJECT
  SimulatedPcsc.cpp
  SimulatedPcscApi.cpp
  SimulatedPcscSharing.cpp)
target_link_libraries(kmark_simulated_pcsc
  PUBLIC kmark_simulator kmark_pcsc_headers kmark_build_flags
  PRIVATE kmark_warnings)
