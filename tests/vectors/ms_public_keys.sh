#!/usr/bin/env bash
# Writes ms_public_keys.h: RSA public keys by openssl, as Microsoft blob, as DER RSAPublicKey and as numbers.
# The keys are new each time.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

literal() { # hex digits as lines of a string literal
    fold -w 110 | sed 's/.*/     "&"/'
    echo
}

{
    cat <<HEAD
// Made by ms_public_keys.sh with $(openssl version | cut -d' ' -f1,2):
//     openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:BITS -pkeyopt rsa_keygen_pubexp:EXPONENT
//     openssl rsa -pubout -outform MSBLOB; openssl rsa -RSAPublicKey_out -outform DER; openssl rsa -noout -modulus
#ifndef VT_TESTS_VECTORS_MS_PUBLIC_KEYS_H
#define VT_TESTS_VECTORS_MS_PUBLIC_KEYS_H

struct MsPublicKey {
    unsigned int bits;
    unsigned int exponent;
    const char* blob;
    const char* der;
    const char* modulus;
};

inline constexpr MsPublicKey kMsPublicKeys[] = {
HEAD
    for key in 512:3 1024:65537 2048:65537 2048:32769 2048:2147483649 4096:65537; do
        bits=${key%:*} exponent=${key#*:}
        openssl genpkey -algorithm RSA -pkeyopt "rsa_keygen_bits:$bits" -pkeyopt "rsa_keygen_pubexp:$exponent" \
            -out "$scratch/key.pem" 2>/dev/null
        rsa="openssl rsa -in $scratch/key.pem"
        echo "    {$bits, ${exponent}U,"
        $rsa -pubout -outform MSBLOB 2>/dev/null | xxd -p | tr -d '\n' | literal
        echo "     ,"
        $rsa -RSAPublicKey_out -outform DER 2>/dev/null | xxd -p | tr -d '\n' | literal
        echo "     ,"
        $rsa -noout -modulus | sed 's/Modulus=//' | tr -d '\n' | literal
        echo "    },"
    done
    printf '};\n\n#endif\n'
} >ms_public_keys.h
clang-format -i ms_public_keys.h
