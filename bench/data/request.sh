#!/usr/bin/env bash
# Makes request.der for bench_request with OpenSSL: a request of the key that message.sh made, signed by SHA-1 with RSA.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
openssl req -new -keyform DER -key signer.key -sha1 -subj "/C=DE/O=Example/CN=Erika Mustermann" -outform DER \
    -out request.der
