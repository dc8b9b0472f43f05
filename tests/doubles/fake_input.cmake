# An object library: its LibInput is in the test program before the linker looks into the layer that has the real one.
add_library(kmark_fake_input OBJECT FakeLibInput.cpp)
target_link_libraries(kmark_fake_input PUBLIC kmark_crypto kmark_common kmark_build_flags PRIVATE kmark_warnings)
