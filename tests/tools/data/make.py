#!/usr/bin/env python3
"""Writes the printed texts that vtprint_test.py expects: tests/tools/data/make.py

The frames of the texts are written by hand from the rules of printing (asn/ostream.h). The values in them are found by
openssl, whose asn1parse says where each stands, and are shown by python. The .der files beside this were made by
openssl too: tests/schema/data/make.sh, from where they were copied.
"""
import os
import re
import subprocess

HERE = os.path.dirname(os.path.abspath(__file__))


class Der:
    """The content of each element by the offset that openssl prints for it."""

    def __init__(self, name):
        path = os.path.join(HERE, name)
        with open(path, "rb") as file:
            self.bytes = file.read()
        parsed = subprocess.run(["openssl", "asn1parse", "-inform", "DER", "-in", path], check=True,
                                capture_output=True, text=True).stdout
        self.places = {}
        for line in parsed.splitlines():
            offset, header, length = map(int, re.match(r" *(\d+):d=\d+ +hl=(\d+) +l= *(\d+)", line).groups())
            self.places[offset] = (offset + header, length)

    def content(self, offset):
        start, length = self.places[offset]
        return self.bytes[start:start + length]

    def number(self, offset):
        return int.from_bytes(self.content(offset), "big", signed=True)

    def text(self, offset):
        return self.content(offset).decode("ascii")

    def octets(self, offset, blanks):
        """The dump of an element's content: lines of 16, and a notice instead of what is past 64."""
        data = self.content(offset)
        lines = []
        for i in range(0, min(len(data), 64), 16):
            line = "".join(f"{byte:02X}" + ("  " if j % 8 == 7 else " ") for j, byte in enumerate(data[i:i + 16]))
            lines.append(" " * blanks + line)
        if len(data) > 64:
            lines.append(" " * blanks + f"( more {len(data) - 64} bytes are absent here )")
        return "\n".join(lines)

    def bits(self, offset, blanks):
        """The dump of a BIT STRING: lines of 32, and a notice instead of what is past 128."""
        unused, data = self.content(offset)[0], self.content(offset)[1:]
        count = 8 * len(data) - unused
        text = "".join(f"{byte:08b}" for byte in data)[:min(count, 128)]
        lines = []
        for i in range(0, len(text), 32):
            line = text[i:i + 32]
            lines.append(" " * blanks + "".join(bit + (" " if j % 8 == 7 else "") for j, bit in enumerate(line)))
        if count > 128:
            lines.append(" " * blanks + f"( more {count - 128} bits are absent here )")
        return "\n".join(lines)


def write(name, text):
    with open(os.path.join(HERE, name), "w", encoding="ascii", newline="\n") as file:
        file.write(text)


key = Der("public_key.der")
write("public_key.txt", f"""\
SEQUENCE : {{
    pkModulus  INTEGER : {key.number(2)}
    publicExponent  INTEGER : {key.number(69)} }}
""")

request = Der("request.der")
write("request.txt", f"""\
SEQUENCE : {{
    certificationRequestInfo  SEQUENCE : {{
        version  INTEGER : {request.number(7)}
        subject  CHOICE : {{
            rdnSequence  SEQUENCE OF {{
                SET OF {{
                    SEQUENCE : {{
                        type  OBJECT IDENTIFER : 2.5.4.3
                        value  OCTET STRING : 
{request.octets(21, 28)}
                        primaryDistinguished  ( DEFAULT )
                        valuesWithContext  ( NOT SELECTED ) }} }} }} }}
        subjectPKInfo  SEQUENCE : {{
            algorithm  SEQUENCE : {{
                algorithm  OBJECT IDENTIFER : 1.2.840.113549.1.1.1
                parameters  OCTET STRING : ( EMPTY ) }}
            subjectPublicKey  BIT STRING : 
{request.bits(50, 16)} }}
        attributes  [0]  IMPLICIT  SET OF {{
            SEQUENCE : {{
                type  OBJECT IDENTIFER : 1.2.840.113549.1.9.14
                values  SET OF {{
                    OCTET STRING : 
{request.octets(144, 24)} }}
                valuesWithContext  ( NOT SELECTED ) }} }} }}
    signatureAlgorithm  SEQUENCE : {{
        algorithm  OBJECT IDENTIFER : 1.2.840.113549.1.1.11
        parameters  OCTET STRING : ( EMPTY ) }}
    signature  BIT STRING : 
{request.bits(207, 8)} }}
""")

certificate = Der("certificate.der")
write("certificate.txt", f"""\
SEQUENCE : {{
    tBSCertificate  SEQUENCE : {{
        version  [0]  
                            INTEGER : {certificate.number(9)}
        serialNumber  INTEGER : {certificate.number(12)}
        signature  SEQUENCE : {{
            algorithm  OBJECT IDENTIFER : 1.2.840.113549.1.1.11
            parameters  OCTET STRING : ( EMPTY ) }}
        issuer  CHOICE : {{
            rdnSequence  SEQUENCE OF {{}} }}
        validity  SEQUENCE : {{
            notBefore  CHOICE : {{
                utcTime  UTCTime : {certificate.text(53)} }}
            notAfter  CHOICE : {{
                utcTime  UTCTime : {certificate.text(68)} }} }}
        subject  CHOICE : {{
            rdnSequence  SEQUENCE OF {{}} }}
        subjectPublicKeyInfo  SEQUENCE : {{
            algorithm  SEQUENCE : {{
                algorithm  OBJECT IDENTIFER : 1.2.840.113549.1.1.1
                parameters  OCTET STRING : ( EMPTY ) }}
            subjectPublicKey  BIT STRING : 
{certificate.bits(102, 16)} }}
        issuerUniqueIdentifier  ( NOT SELECTED )
        subjectUniqueIdentifier  ( NOT SELECTED )
        extensions  [3]  
                            SEQUENCE OF {{
                                SEQUENCE : {{
                                    extnId  OBJECT IDENTIFER : 2.5.29.19
                                    critical  ( DEFAULT )
                                    extnValue  OCTET STRING : 
{certificate.octets(190, 40)} }}
                                SEQUENCE : {{
                                    extnId  OBJECT IDENTIFER : 2.5.29.14
                                    critical  ( DEFAULT )
                                    extnValue  OCTET STRING : 
{certificate.octets(201, 40)} }} }} }}
    algorithmIdentifier  SEQUENCE : {{
        algorithm  OBJECT IDENTIFER : 1.2.840.113549.1.1.11
        parameters  OCTET STRING : ( EMPTY ) }}
    encrypted  BIT STRING : 
{certificate.bits(240, 8)} }}
""")

encrypted = Der("encrypted_key.der")
write("encrypted_key.txt", f"""\
SEQUENCE : {{
    encryptionAlgorithm  SEQUENCE : {{
        algorithm  OBJECT IDENTIFER : 1.2.840.113549.1.12.1.6
        parameters  OCTET STRING : 
{encrypted.octets(18, 12)} }}
    encryptedData  OCTET STRING : 
{encrypted.octets(34, 8)} }}
""")
