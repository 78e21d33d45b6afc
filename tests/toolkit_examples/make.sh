#!/usr/bin/env bash
# Writes authority.h: a certificate by openssl, which the examples read, and build again byte for byte. The key is new
# each time.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

literal() { # stdin as lines of a string literal of hex digits
    xxd -p | tr -d '\n' | fold -w 110 | sed 's/.*/    "&"/'
    echo
}

cat >"$scratch/ca.cnf" <<CONF
[ca]
default_ca = authority
[authority]
database = $scratch/index
new_certs_dir = $scratch
serial = $scratch/serial
default_md = sha256
policy = any
[any]
countryName = optional
organizationName = optional
commonName = supplied
[req]
distinguished_name = name
string_mask = nombstr
prompt = no
[name]
C = DE
O = Example
CN = Example Authority
[extensions]
basicConstraints = critical, CA:TRUE, pathlen:0
subjectKeyIdentifier = none
CONF
: >"$scratch/index"
echo 03E8 >"$scratch/serial"
openssl req -new -newkey rsa:512 -nodes -config "$scratch/ca.cnf" -keyout "$scratch/key.pem" -out "$scratch/request.pem" \
    2>"$scratch/log"
openssl ca -batch -config "$scratch/ca.cnf" -selfsign -keyfile "$scratch/key.pem" -in "$scratch/request.pem" \
    -extensions extensions -startdate 260101000000Z -enddate 360101000000Z -notext -out "$scratch/authority.pem" \
    2>>"$scratch/log"

{
    cat <<HEAD
// Made by make.sh with $(openssl version | cut -d' ' -f1,2):
//     openssl req -new -newkey rsa:512 -nodes; openssl ca -selfsign -startdate 260101000000Z -enddate 360101000000Z
//     openssl x509 -pubkey
#ifndef VT_TESTS_TOOLKIT_EXAMPLES_AUTHORITY_H
#define VT_TESTS_TOOLKIT_EXAMPLES_AUTHORITY_H

// The certificate.
inline constexpr char kAuthority[] =
HEAD
    openssl x509 -in "$scratch/authority.pem" -outform DER | literal
    printf '    ;\n\n// Its SubjectPublicKeyInfo.\ninline constexpr char kAuthorityKey[] =\n'
    openssl x509 -in "$scratch/authority.pem" -noout -pubkey | openssl pkey -pubin -outform DER | literal
    printf '    ;\n\n#endif\n'
} >authority.h
clang-format -i authority.h
