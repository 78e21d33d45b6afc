#!/usr/bin/env bash
# Makes what the messages of bench_message need, with OpenSSL: signer.key (RSA-2048, PKCS#8), signer.der, and the two
# authorities above it, authority.der and root.der, all signed by SHA-1 with RSA. The authorities' keys are thrown away.
# OpenSSL reduces a private exponent by the least common multiple of p - 1 and q - 1, which not every key survives
# unchanged; keys are made until one does.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fits() {
    openssl rsa -in "$1" -noout -text 2>/dev/null | python3 -c '
import re, sys
numbers = dict(re.findall(r"(\w+):\s*\n((?:\s+[0-9a-f:]+\n)+)", sys.stdin.read()))
d, p, q = (int(re.sub(r"[\s:]", "", numbers[name]), 16) for name in ("privateExponent", "prime1", "prime2"))
sys.exit(0 if d == pow(65537, -1, (p - 1) * (q - 1)) else 1)'
}

cat >"$work/extensions.cnf" <<'END'
[authority]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
[signer]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature, keyEncipherment
subjectKeyIdentifier = hash
END

certify() { # name issuer extensions subject
    openssl req -new -key "$work/$1.pem" -subj "$4" -out "$work/$1.csr"
    local -a by=(-CA "$work/$2.crt" -CAkey "$work/$2.pem")
    [[ $1 != "$2" ]] || by=(-signkey "$work/$1.pem")
    openssl x509 -req -in "$work/$1.csr" "${by[@]}" -days 10000 -sha1 -extfile "$work/extensions.cnf" -extensions "$3" \
        -out "$work/$1.crt" 2>/dev/null
    openssl x509 -in "$work/$1.crt" -outform DER -out "$1.der"
}

for name in root authority signer; do
    until openssl genrsa -out "$work/$name.pem" 2048 2>/dev/null && fits "$work/$name.pem"; do :; done
done
certify root root authority "/C=DE/O=Example Trust Services/CN=Example Root"
certify authority root authority "/C=DE/O=Example Trust Services/CN=Example Issuing Authority"
certify signer authority signer "/C=DE/O=Example/OU=Engineering/CN=Erika Mustermann"
openssl pkcs8 -topk8 -nocrypt -in "$work/signer.pem" -outform DER -out signer.key
