#!/usr/bin/env bash
# Makes certificate.der with OpenSSL: version 3, RSA 2048, eight extensions, about 1.1 KB. The key is thrown away, so a
# second run gives another certificate of the same shape.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/extensions.cnf" <<'END'
[leaf]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature, keyEncipherment
extendedKeyUsage = serverAuth, clientAuth
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
subjectAltName = DNS:www.example.com, DNS:example.com, email:erika@example.com
crlDistributionPoints = URI:http://crl.example.com/authority.crl
authorityInfoAccess = OCSP;URI:http://ocsp.example.com, caIssuers;URI:http://pki.example.com/authority.crt
END
openssl req -x509 -newkey rsa:2048 -nodes -keyout "$work/ca.key" -out "$work/ca.pem" -days 3650 \
    -subj "/C=DE/O=Example Trust Services/CN=Example Issuing Authority" 2>/dev/null
openssl req -new -newkey rsa:2048 -nodes -keyout "$work/leaf.key" -out "$work/leaf.csr" \
    -subj "/C=DE/O=Example/OU=Engineering/CN=Erika Mustermann" 2>/dev/null
openssl x509 -req -in "$work/leaf.csr" -CA "$work/ca.pem" -CAkey "$work/ca.key" -days 730 -sha256 \
    -set_serial 0x6f1d3c5a7b9e2f4061728394a5b6c7d8 -extfile "$work/extensions.cnf" -extensions leaf \
    -outform DER -out certificate.der 2>/dev/null
