#!/usr/bin/env bash
# Writes the inputs of real_input_test.cpp into this folder: <class>.<what it shows>.der, made by openssl (3.0). Keys,
# dates and salts are new each time, so run it only to add a shape, and keep the other files.
set -euo pipefail
out=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

cat > make.cnf <<'CONF'
[req]
distinguished_name = none
string_mask = nombstr
prompt = no
[none]
[plain]
basicConstraints = CA:FALSE
[authority]
basicConstraints = critical, CA:TRUE, pathlen:3
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[eight]
basicConstraints = CA:FALSE
keyUsage = critical, digitalSignature, keyEncipherment
extendedKeyUsage = serverAuth, clientAuth, 1.3.6.1.4.1.311.20.2.2
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid, issuer
subjectAltName = @names
certificatePolicies = @policy
crlDistributionPoints = URI:http://crl.example.test/ca.crl, URI:ldap://example.test/cn=ca
[many]
basicConstraints = CA:FALSE
subjectAltName = @names
issuerAltName = email:ca@example.test
authorityInfoAccess = OCSP;URI:http://ocsp.example.test/, caIssuers;URI:http://example.test/ca.cer
certificatePolicies = 2.5.29.32.0, @policy
policyConstraints = requireExplicitPolicy:3, inhibitPolicyMapping:0
inhibitAnyPolicy = 2
nameConstraints = permitted;DNS:example.test, excluded;IP:192.0.2.0/255.255.255.0
nsComment = "made by openssl"
tlsfeature = status_request
1.2.3.4.5 = ASN1:SEQUENCE:private
[names]
DNS.1 = example.test
DNS.2 = *.example.test
email = a@example.test
IP.1 = 192.0.2.1
IP.2 = 2001:db8::1
URI = http://example.test/?a=b
RID = 1.2.3.4
otherName = 1.3.6.1.4.1.311.20.2.3;UTF8:enroll@example.test
dirName = directory
[directory]
C = DE
CN = Directory Name
[policy]
policyIdentifier = 1.3.6.1.4.1.99999.1
CPS.1 = http://example.test/cps
userNotice.1 = @notice
[notice]
explicitText = UTF8:Text of the notice
organization = Example
noticeNumbers = 1, 200
[private]
a = INTEGER:70000
b = UTF8:ü
[attributes]
challengePassword = secret
unstructuredName = Example Machine
[request]
subjectAltName = DNS:request.example.test
keyUsage = digitalSignature
CONF

key() { openssl genpkey -quiet "${@:2}" -out "$1.key" 2>/dev/null || openssl genpkey "${@:2}" -out "$1.key" 2>/dev/null; }
for bits in 512 1024 2048 4096 8192; do
    key "rsa$bits" -algorithm RSA -pkeyopt "rsa_keygen_bits:$bits"
done
key three -algorithm RSA -pkeyopt rsa_keygen_bits:1024 -pkeyopt rsa_keygen_pubexp:3
key ec -algorithm EC -pkeyopt ec_paramgen_curve:P-256
key ed -algorithm ED25519
openssl dsaparam -out dsa.par 1024 2>/dev/null
key dsa -paramfile dsa.par

# A self-signed certificate: name, key, subject, further options of openssl req.
self() {
    openssl req -new -x509 -config make.cnf -key "$2.key" -subj "$3" -days 3650 -outform PEM -out "$1.pem" "${@:4}"
    openssl x509 -in "$1.pem" -outform DER -out "$out/Certificate.$1.der"
}
subject="/C=DE/ST=Hesse/L=Frankfurt/O=Example/OU=Tests/CN=Real Input/emailAddress=real@example.test"
for bits in 512 1024 2048 4096 8192; do
    self "rsa$bits" "rsa$bits" "$subject" -extensions plain
done
self exponent3 three "$subject" -extensions authority
self ec ec "$subject" -extensions plain
self ed25519 ed "$subject" -extensions plain
self dsa dsa "$subject" -extensions plain
self sha1 rsa512 "$subject" -sha1 -extensions plain
self md5 rsa512 "$subject" -md5 -extensions plain
self pss rsa1024 "$subject" -sha256 -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:20 -extensions plain
self eight_extensions rsa1024 "$subject" -extensions eight
self many_extensions rsa512 "$subject" -extensions many
self negative_serial rsa512 "$subject" -set_serial -123456789012345678901234567890 -extensions plain
self long_serial rsa512 "$subject" -set_serial 0xF0E0D0C0B0A090807060504030201000F1E1D1C1 -extensions plain
self zero_serial rsa512 "$subject" -set_serial 0 -extensions plain
self multi_valued rsa512 "/C=DE+O=Example+OU=Tests/CN=Several Values+UID=7+serialNumber=X1" -multivalue-rdn -extensions plain
self empty_subject rsa512 "/" -extensions plain
self v1 rsa512 "$subject" -x509 -extensions none
sed 's/nombstr/utf8only/' make.cnf > utf8.cnf
sed 's/nombstr/default/' make.cnf > default.cnf
sed 's/nombstr/pkix/' make.cnf > pkix.cnf
strings() { # config, name
    openssl req -new -x509 -config "$1.cnf" -utf8 -key rsa512.key -days 3650 -out "$2.pem" -extensions plain \
        -subj "/C=DE/O=Büro Łódź/CN=名前 € é/dnQualifier=q/DC=example/emailAddress=s@example.test/unstructuredName=u"
    openssl x509 -in "$2.pem" -outform DER -out "$out/Certificate.$2.der"
}
strings utf8 utf8_strings
strings default default_strings
strings pkix pkix_strings

# An authority that dates and numbers as it is told: version 1, GeneralizedTime, revocation.
cat > ca.cnf <<'CONF'
[ca]
default_ca = it
[it]
database = index.txt
new_certs_dir = .
serial = serial
crlnumber = crlnumber
private_key = rsa1024.key
certificate = rsa1024.pem
default_md = sha256
default_days = 3650
default_crl_days = 30
policy = any
unique_subject = no
email_in_dn = yes
[any]
countryName = optional
commonName = optional
[numbered]
authorityKeyIdentifier = keyid:always
issuerAltName = DNS:ca.example.test
[delta]
2.5.29.27 = critical, ASN1:INTEGER:7
issuingDistributionPoint = critical, @where
[where]
fullname = URI:http://crl.example.test/delta.crl
onlyuser = TRUE
CONF
touch index.txt
echo 1000 > serial
echo 01 > crlnumber
issue() { # name, not before, not after, further options
    openssl req -new -config make.cnf -key rsa512.key -subj "/C=DE/CN=$1" -out "$1.csr"
    openssl ca -config ca.cnf -batch -notext -in "$1.csr" -out "$1.pem" -startdate "$2" -enddate "$3" "${@:4}" 2>/dev/null
    openssl x509 -in "$1.pem" -outform DER -out "$out/Certificate.$1.der"
}
issue issued_v1 20141022010203Z 20241022010203Z
issue after_2049 20141022010203Z 20991231235959Z
issue from_2050 20500101000000Z 99991231235959Z
crl() { # name, further options
    openssl ca -config "${config:-ca.cnf}" -gencrl -out "$1.pem" "${@:2}" 2>/dev/null
    openssl crl -in "$1.pem" -outform DER -out "$out/CertificateList.$1.der"
}
crl empty -crlexts numbered
openssl ca -config ca.cnf -revoke issued_v1.pem 2>/dev/null
grep -v '^crlnumber' ca.cnf > v1.cnf
config=v1.cnf crl v1
openssl ca -config ca.cnf -revoke after_2049.pem -crl_reason keyCompromise 2>/dev/null
openssl ca -config ca.cnf -revoke from_2050.pem -crl_hold holdInstructionReject 2>/dev/null
crl revoked -crlexts numbered
crl delta -crlexts delta
crl until_2050 -crlexts numbered -crl_nextupdate 20500101000000Z

request() { # name, key, further options
    openssl req -new -config make.cnf -key "$2.key" -subj "/C=DE/O=Example/CN=Request" -outform DER \
        -out "$out/CertificationRequest.$1.der" "${@:3}"
}
request plain rsa1024
request empty_attributes ec
request extensions rsa512 -reqexts request
sed 's/^distinguished_name = none/distinguished_name = directory\nattributes = attributes/' make.cnf > attributes.cnf
openssl req -new -config attributes.cnf -key rsa512.key -reqexts request -outform DER \
    -out "$out/CertificationRequest.attributes.der"

pkcs7() { openssl pkcs7 -in "$1.p7" -inform PEM -outform DER -out "$out/ContentInfo.$1.der"; }
printf 'signed content\n' > content
openssl crl2pkcs7 -nocrl -certfile rsa512.pem -out certificate.p7
pkcs7 certificate
openssl crl2pkcs7 -nocrl -certfile rsa512.pem -certfile rsa1024.pem -certfile rsa2048.pem -out chain.p7
pkcs7 chain
openssl crl2pkcs7 -nocrl -certfile rsa2048.pem -certfile rsa512.pem -out unsorted_chain.p7
pkcs7 unsorted_chain
openssl crl2pkcs7 -in revoked.pem -certfile rsa512.pem -out with_crl.p7
pkcs7 with_crl
smime() { openssl smime -binary -in content -outform DER -out "$out/ContentInfo.$1.der" "${@:2}"; }
smime signed -sign -signer rsa1024.pem -inkey rsa1024.key -nodetach
smime detached -sign -signer rsa1024.pem -inkey rsa1024.key
smime no_attributes -sign -signer rsa1024.pem -inkey rsa1024.key -nodetach -noattr
smime no_certificates -sign -signer rsa1024.pem -inkey rsa1024.key -nodetach -nocerts
smime two_signers -sign -nodetach -signer rsa1024.pem -inkey rsa1024.key -signer rsa2048.pem -inkey rsa2048.key
smime enveloped -encrypt -aes128 rsa1024.pem
smime enveloped_for_two -encrypt -des3 rsa1024.pem rsa2048.pem

pkcs8() { openssl pkcs8 -topk8 -in "$2.key" -outform DER -out "$out/$1.der" "${@:3}"; }
pkcs8 PrivateKeyInfo.rsa rsa512 -nocrypt
pkcs8 PrivateKeyInfo.ec ec -nocrypt
pkcs8 PrivateKeyInfo.dsa dsa -nocrypt
pkcs8 PrivateKeyInfo.ed25519 ed -nocrypt
legacy=(-provider legacy -provider default)
pkcs8 EncryptedPrivateKeyInfo.pbes2 rsa512 -passout pass:secret -v2 aes-256-cbc
pkcs8 EncryptedPrivateKeyInfo.des3 rsa512 -passout pass:secret -v1 PBE-SHA1-3DES
pkcs8 EncryptedPrivateKeyInfo.rc2_40 rsa512 -passout pass:secret -v1 PBE-SHA1-RC2-40 "${legacy[@]}"
pkcs8 EncryptedPrivateKeyInfo.md5_des rsa512 -passout pass:secret -v1 PBE-MD5-DES "${legacy[@]}"
for bits in 512 4096; do
    openssl rsa -in "rsa$bits.key" -traditional -outform DER -out "$out/RSAPrivateKey.rsa$bits.der" 2>/dev/null
    openssl rsa -in "rsa$bits.key" -RSAPublicKey_out -outform DER -out "$out/RSAPublicKey.rsa$bits.der" 2>/dev/null
done
openssl rsa -in three.key -RSAPublicKey_out -outform DER -out "$out/RSAPublicKey.exponent3.der" 2>/dev/null
for name in rsa512 rsa8192 ec dsa ed; do
    openssl pkey -in "$name.key" -pubout -outform DER -out "$out/SubjectPublicKeyInfo.$name.der"
done

pkcs12() { # name, further options
    openssl pkcs12 -export -in rsa512.pem -inkey rsa512.key -passout pass:secret -name "Real Input" \
        -out "$out/PFX.$1.der" "${@:2}"
}
pkcs12 default
pkcs12 legacy -legacy
pkcs12 des3 -keypbe PBE-SHA1-3DES -certpbe PBE-SHA1-3DES -macalg sha1
pkcs12 without_mac -nomac
pkcs12 open -keypbe NONE -certpbe NONE
pkcs12 chain -certfile rsa1024.pem -certfile rsa2048.pem -caname first -caname second
pkcs12 one_iteration -noiter -nomaciter -certpbe PBE-SHA1-3DES -keypbe PBE-SHA1-3DES
pkcs12 certificates_only -nokeys
pkcs12 provider -CSP "Example Provider" -LMK -keyex
ls -l "$out"/*.der
