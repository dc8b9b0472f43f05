#!/bin/sh
# Makes the private keys of the simulated cards anew: data/TestKeys.cpp. They guard nothing.
# The keys are committed, so that runs are quick and repeatable; nobody needs to run this.
set -eu
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

rsa() { openssl genpkey -quiet -algorithm RSA -pkeyopt "rsa_keygen_bits:$2" -out "$work/$1"; }
ec() { openssl genpkey -quiet -algorithm EC -pkeyopt "ec_paramgen_curve:$2" -pkeyopt ec_param_enc:named_curve -out "$work/$1"; }

rsa Authority 2048
rsa EncryptionRsa 1536
ec EncryptionP192 prime192v1
ec SignatureP192 prime192v1
ec SignatureP256 prime256v1

{
    printf '#include "simulator/data/TestKeys.h"\n\n// Written by make-test-keys.sh.\nnamespace Simulator::TestKeys\n{\n'
    for name in Authority EncryptionRsa EncryptionP192 SignatureP192 SignatureP256; do
        printf '\nconst char* const k%s = R"(' "$name"
        cat "$work/$name"
        printf ')";\n'
    done
    printf '\n} // namespace Simulator::TestKeys\n'
} > data/TestKeys.cpp
