#!/usr/bin/env bash
# Makes rc2.p12 and des3.p12: the key and certificate of the messages (message.sh) and their authority, under the
# password "secret" and 2000 iterations. The key is under triple DES in both, the certificates under 40-bit RC2 or
# triple DES.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
openssl pkey -inform DER -in signer.key -out "$scratch/signer.key"
for name in signer authority; do
    openssl x509 -inform DER -in "$name.der" -out "$scratch/$name.pem"
done
for kind in rc2:PBE-SHA1-RC2-40 des3:PBE-SHA1-3DES; do
    openssl pkcs12 -export -provider legacy -provider default -inkey "$scratch/signer.key" -in "$scratch/signer.pem" \
        -certfile "$scratch/authority.pem" -keypbe PBE-SHA1-3DES -certpbe "${kind#*:}" -macalg sha1 -iter 2000 \
        -passout pass:secret -out "${kind%%:*}.p12"
done
