#!/usr/bin/env bash
# Writes enrol_certificates.h: an authority, certificates that it issued by openssl, and chains of them.
# Run it in this folder; the keys are new each time.
set -euo pipefail
out=$PWD/enrol_certificates.h
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

cat > ca.cnf <<CONF
[ca]
default_ca = demo
[demo]
database = index.txt
new_certs_dir = .
serial = serial
private_key = ca.key
certificate = ca.pem
default_md = sha256
policy = any
unique_subject = no
preserve = yes
email_in_dn = yes
x509_extensions = leaf
[any]
countryName = optional
organizationName = optional
organizationalUnitName = optional
commonName = supplied
emailAddress = optional
[leaf]
basicConstraints = CA:FALSE
[intermediate]
basicConstraints = CA:TRUE
CONF
touch index.txt

key() { openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:1024 -out "$1.key" 2>/dev/null ||
    openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:1024 -out "$1.key" 2>/dev/null; }

key ca
openssl req -new -x509 -key ca.key -utf8 -subj "/C=DE/O=Example/CN=Test Authority" -set_serial 1 -days 36500 \
    -outform PEM -out ca.pem

issue() { # name, key, serial, start, subject
    echo "$3" > serial
    openssl req -new -utf8 -key "$2.key" -subj "$5" -out "$1.csr"
    openssl ca -config ca.cnf -batch -notext -utf8 -in "$1.csr" -out "$1.pem" -startdate "$4" -enddate 20991231235959Z \
        2>/dev/null
}

key alice
key bob
key issuing
issue alice alice 0A1B 20141021103000Z "/C=DE/O=Example/CN=Alice"
issue alice_renewed alice 0A1C 20151021103000Z "/C=DE/O=Example/CN=Alice"
issue alice_twin alice 0A1D 20151021103000Z "/C=DE/O=Example/CN=Alice"
issue alice_long_serial alice F0E0D0C0B0A090807060504030201000F1E1 20131021103000Z "/C=DE/O=Example/CN=Alice"
issue bob bob 0B01 20141021103000Z "/C=DE/O=Example/OU=Staff/CN=Bob/emailAddress=bob@example.test"
openssl req -new -utf8 -key issuing.key -subj "/C=DE/O=Example/CN=Issuing Authority" -out issuing.csr
openssl x509 -req -in issuing.csr -CA ca.pem -CAkey ca.key -set_serial 2 -days 36500 -extfile ca.cnf \
    -extensions intermediate -out issuing.pem 2>/dev/null
openssl x509 -req -in alice.csr -CA issuing.pem -CAkey issuing.key -set_serial 0x0C01 -days 36500 -extfile ca.cnf \
    -extensions leaf -out alice_issued.pem 2>/dev/null
openssl x509 -req -in alice.csr -CA ca.pem -CAkey ca.key -set_serial 0x0A1E -days 36500 -out alice_v1.pem 2>/dev/null

hexOf() { od -An -v -tx1 | tr -d ' \n'; }
constant() { # name, comment; bytes on the standard input
    echo
    echo "// $2"
    echo "inline constexpr char $1[] ="
    hexOf | fold -w 110 | sed 's/.*/    "&"/;$s/$/;/'
    echo
}
der() { openssl x509 -in "$1.pem" -outform DER; }

{
    cat <<HEAD
// Made by enrol_certificates.sh with $(openssl version | cut -d' ' -f1,2).
#ifndef VT_TESTS_VECTORS_ENROL_CERTIFICATES_H
#define VT_TESTS_VECTORS_ENROL_CERTIFICATES_H

namespace vectors {
HEAD
    der ca | constant kAuthority 'openssl req -new -x509 -subj "/C=DE/O=Example/CN=Test Authority" -set_serial 1'
    openssl rsa -in alice.key -pubout -outform MSBLOB 2>/dev/null | constant kAliceKey \
        'openssl rsa -pubout -outform MSBLOB: the key of every certificate of Alice'
    der alice | constant kAlice \
        'openssl ca -startdate 20141021103000Z, serial 0A1B, "/C=DE/O=Example/CN=Alice"'
    der alice_renewed | constant kAliceRenewed \
        'openssl ca -startdate 20151021103000Z, serial 0A1C, "/C=DE/O=Example/CN=Alice"'
    der alice_twin | constant kAliceTwin \
        'openssl ca -startdate 20151021103000Z, serial 0A1D, "/C=DE/O=Example/CN=Alice"'
    der alice_long_serial | constant kAliceLongSerial \
        'openssl ca -startdate 20131021103000Z, serial F0E0D0C0B0A090807060504030201000F1E1, "/C=DE/O=Example/CN=Alice"'
    der alice_v1 | constant kAliceVersion1 'openssl x509 -req -set_serial 0x0A1E: version 1, which is not told'
    der bob | constant kBob \
        'openssl ca -startdate 20141021103000Z, serial 0B01, "/C=DE/O=Example/OU=Staff/CN=Bob/emailAddress=bob@example.test"'
    openssl crl2pkcs7 -nocrl -certfile ca.pem -certfile alice.pem -outform DER | constant kAliceChain \
        'openssl crl2pkcs7 -nocrl -certfile ca.pem -certfile alice.pem: certificates only'
    der issuing | constant kIssuing \
        'openssl x509 -req -CA the authority -set_serial 2, "/C=DE/O=Example/CN=Issuing Authority"'
    der alice_issued | constant kAliceIssued \
        'openssl x509 -req -CA that one -set_serial 0x0C01, "/C=DE/O=Example/CN=Alice"'
    openssl crl2pkcs7 -nocrl -certfile alice_issued.pem -certfile ca.pem -certfile issuing.pem -outform DER | constant \
        kIssuedChain 'openssl crl2pkcs7 -nocrl -certfile alice_issued.pem -certfile ca.pem -certfile issuing.pem'
    cat ca.pem issuing.pem > authorities.pem
    echo text | openssl smime -sign -md sha1 -signer alice_issued.pem -inkey alice.key -certfile authorities.pem \
        -nodetach -outform DER | constant kSignedChain \
        'openssl smime -sign -md sha1 -nodetach: a message that carries the chain and has a signer who verifies'
    echo text | openssl cms -sign -signer alice.pem -inkey alice.key -certfile ca.pem -nodetach -outform DER | constant \
        kSignedText 'openssl cms -sign -nodetach: a message with a signer'
    echo text | openssl cms -data_create -outform DER | constant kPlainText 'openssl cms -data_create: another content type'
    cat <<TAIL
}  // namespace vectors

#endif
TAIL
} > "$out"
