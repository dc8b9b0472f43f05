find_package(PkgConfig REQUIRED)
find_package(OpenSSL 3.0 REQUIRED COMPONENTS Crypto)
find_package(Boost 1.74 REQUIRED)
pkg_check_modules(PCSCLITE REQUIRED IMPORTED_TARGET libpcsclite)
pkg_check_modules(P11KIT REQUIRED IMPORTED_TARGET p11-kit-1)

# Headers alone: the readers compile against the PC/SC API, and the final target chooses who provides it.
add_library(kmark_pcsc_headers INTERFACE)
target_include_directories(kmark_pcsc_headers SYSTEM INTERFACE ${PCSCLITE_INCLUDE_DIRS})

# The types of PKCS #11; nothing of p11-kit is linked.
add_library(kmark_pkcs11_headers INTERFACE)
target_include_directories(kmark_pkcs11_headers SYSTEM INTERFACE ${P11KIT_INCLUDE_DIRS})

if(KMARK_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
