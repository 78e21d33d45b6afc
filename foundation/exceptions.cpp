#include "foundation/exceptions.h"

MiException::MiException() : message("exp") {}
MiException::MiException(const MiException& other) = default;
MiException& MiException::operator=(const MiException& other) = default;
MiException::~MiException() = default;

MiLogicExp::MiLogicExp() {
    message = "logic exp";
}

MiInvalidArgumentExp::MiInvalidArgumentExp() {
    message = "invalid argument exp";
}

MiOutOfRangeExp::MiOutOfRangeExp() {
    message = "out of range exp";
}

MiDomainExp::MiDomainExp() {
    message = "domain exp";
}

MiRuntimeExp::MiRuntimeExp() {
    message = "runtime exp";
}

MiRangeExp::MiRangeExp() {
    message = "range exp";
}

AsnException::AsnException() {
    message = "asn exception";
}

AsnDataExp::AsnDataExp() {
    message = "asn data exception";
}

AsnDecodeExp::AsnDecodeExp() {
    message = "asn decode exception";
}

AsnEncodeExp::AsnEncodeExp() {
    message = "asn encode exception";
}
