// One value with an element of every kind, made by OpenSSL 3.0:
//
//     openssl asn1parse -genconf every_kind.cnf -noout -out every_kind.der
//
//     asn1 = SEQUENCE:all          pr = PRINTABLESTRING:Vemtrel          [all continued]
//     [all]                        t6 = T61STRING:tele                   set = EXPLICIT:0,SET:inner
//     v = INTEGER:-129             un = FORMAT:ASCII,UNIVERSALSTRING:AB  imp = IMPLICIT:31C,NULL
//     e = ENUMERATED:300           bm = BMPSTRING:AB                     app = IMPLICIT:200A,OCTETSTRING:x
//     b = BOOLEAN:true             ut = UTCTIME:231231235959Z
//     n = NULL                     gt = GENERALIZEDTIME:20231231235959Z  [inner]
//     o = FORMAT:HEX,OCTETSTRING:DEADBEEF                                i = INTEGER:0x7FFFFFFF
//     bs = FORMAT:BITLIST,BITSTRING:0,1,5,10                             j = INTEGER:-2147483648
//     oid = OID:1.2.840.113549.1.9.1
//     ia = IA5STRING:enroll@vemtrel.test
#ifndef VT_TESTS_BER_VECTORS_H
#define VT_TESTS_BER_VECTORS_H

namespace codec {

constexpr char kEveryKind[] =
    "30 81 8F 02 02 FF 7F 0A 02 01 2C 01 01 FF 05 00 04 04 DE AD BE EF 03 03 05 C4 20 06 09 2A 86 48 "
    "86 F7 0D 01 09 01 16 13 65 6E 72 6F 6C 6C 40 76 65 6D 74 72 65 6C 2E 74 65 73 74 13 07 56 65 6D "
    "74 72 65 6C 14 04 74 65 6C 65 1C 08 00 00 00 41 00 00 00 42 1E 04 00 41 00 42 17 0D 32 33 31 32 "
    "33 31 32 33 35 39 35 39 5A 18 0F 32 30 32 33 31 32 33 31 32 33 35 39 35 39 5A A0 0E 31 0C 02 04 "
    "7F FF FF FF 02 04 80 00 00 00 9F 1F 00 5F 81 48 01 78";

}  // namespace codec

#endif
