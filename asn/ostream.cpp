#include "asn/ostream.h"

#include <algorithm>
#include <iostream>
#include <ostream>
#include <string>

#include "asn/bit_string.h"
#include "asn/boolean.h"
#include "asn/byte_strings.h"
#include "asn/choice.h"
#include "asn/container.h"
#include "asn/instance_of.h"
#include "asn/integer.h"
#include "asn/list.h"
#include "asn/null.h"
#include "asn/octet_string.h"
#include "asn/oid.h"
#include "asn/sequence.h"
#include "asn/set.h"
#include "asn/text_strings.h"
#include "asn/times.h"
#include "asn/wide_strings.h"
#include "foundation/exceptions.h"
#include "foundation/indent.h"

namespace {

using foundation::WriteMargin;
using Stream = std::basic_ostream<char>;

constexpr unsigned int kMostBytes = 64;  // of an OCTET STRING
constexpr unsigned int kMostBits = 128;  // of a BIT STRING
// What stands in an explicit tag is moved further in than anything else.
constexpr unsigned int kContainerLevels = 5;

void text(Stream& os, const MiString& value) {
    if (!value.Empty())
        os << value.GetChars();
}

void name(Stream& os, const AsnObject& value) {
    text(os, value.GetAsnName());
}

// What every value starts with.
void head(const AsnObject& value, const char* label, Stream& os, unsigned int level) {
    WriteMargin(os, level);
    if (!value.GetAsnName().Empty()) {
        name(os, value);
        os << "  ";
    }
    os << value.GetAsnTag() << label;
}

void quoted(const AsnObject& value, const char* label, bool empty, const MiString& characters, Stream& os,
            unsigned int level) {
    head(value, label, os, level);
    if (empty) {
        os << "( EMPTY )";
        return;
    }
    os << '"';
    text(os, characters);
    os << '"';
}

// Notice of what a dump has left out.
void absentHere(unsigned int more, const char* unit, Stream& os, unsigned int level) {
    os << std::endl;
    WriteMargin(os, level);
    os << "( more " << std::to_string(more) << ' ' << unit << " are absent here )";
}

const char* absence(const AsnObject& member) {
    switch (member.GetAsnState()) {
        case AsnObject::ASN_OPTIONAL:
            return "  ( NOT SELECTED )";
        case AsnObject::ASN_DEFAULT:
            return "  ( DEFAULT )";
        default:
            return "  ( EMPTY )";
    }
}

void absentMember(const AsnObject& member, Stream& os, unsigned int level) {
    WriteMargin(os, level);
    name(os, member);
    os << absence(member);
}

// The notice goes to the standard output of the process, whatever the stream of all the rest is: programs that print to
// a file have long done without it there.
void absentMemberOfInstance(const AsnObject& member, Stream& os, unsigned int level) {
    WriteMargin(os, level);
    name(os, member);
    std::cout << "  ( EMPTY )";
}

// Members or items, each on its line, between braces; memberAt gives one, and print prints it.
template <class MemberAt, class Print>
void braces(unsigned int count, MemberAt memberAt, Print print, Stream& os) {
    if (count == 0) {
        os << "{}";
        return;
    }
    os << '{' << std::endl;
    for (unsigned int i = 0; i < count; ++i) {
        if (i > 0)
            os << std::endl;
        const AsnObject* member = memberAt(i);
        if (member == nullptr)
            throw AsnDataExp();
        print(*member);
    }
    os << " }";
}

template <class Composite, class Absent>
void members(const Composite& value, const char* label, Absent absent, Stream& os, unsigned int level) {
    head(value, label, os, level);
    const auto print = [&](const AsnObject& member) {
        if (member.IsAsnPresent())
            member.ToOstream(os, level + 1);
        else
            absent(member, os, level + 1);
    };
    braces(
        value.Size(), [&](unsigned int i) { return value.Get(i); }, print, os);
}

}  // namespace

AsnOstream::~AsnOstream() = default;

void AsnOstream::DoVisit(const AsnBoolean& value, Stream& os, unsigned int level) {
    head(value, "BOOLEAN : ", os, level);
    os << (value.GetData() ? "true" : "false");
}

void AsnOstream::DoVisit(const AsnOctetString& value, Stream& os, unsigned int level) {
    head(value, "OCTET STRING : ", os, level);
    const MiByte& bytes = value.GetData();
    if (bytes.Empty()) {
        os << "( EMPTY )";
        return;
    }
    os << std::endl;
    MiByte(bytes.GetChars(), std::min(bytes.GetLength(), kMostBytes)).ToOstream(os, level + 1);
    if (bytes.GetLength() > kMostBytes)
        absentHere(bytes.GetLength() - kMostBytes, "bytes", os, level + 1);
}

void AsnOstream::DoVisit(const AsnInteger& value, Stream& os, unsigned int level) {
    head(value, "INTEGER : ", os, level);
    value.GetBigInteger().ToOstream(os, 0);
}

void AsnOstream::DoVisit(const AsnBitString& value, Stream& os, unsigned int level) {
    head(value, "BIT STRING : ", os, level);
    const MiBitSet& bits = value.GetData();
    if (bits.Empty()) {
        os << "( EMPTY ) ";
        return;
    }
    os << std::endl;
    MiBitSet(bits.GetByte(), std::min(bits.GetBitLength(), kMostBits)).ToOstream(os, level + 1);
    if (bits.GetBitLength() > kMostBits)
        absentHere(bits.GetBitLength() - kMostBits, "bits", os, level + 1);
}

void AsnOstream::DoVisit(const AsnEnumerated& value, Stream& os, unsigned int level) {
    head(value, "ENUMERATED : ", os, level);
    os << std::to_string(value.GetData());
}

void AsnOstream::DoVisit(const AsnOid& value, Stream& os, unsigned int level) {
    head(value, "OBJECT IDENTIFER : ", os, level);  // so spelled; readers of the output look for it
    text(os, value.GetData());
}

void AsnOstream::DoVisit(const AsnGeneralizedTime& value, Stream& os, unsigned int level) {
    head(value, "GeneralizedTime : ", os, level);
    text(os, value.GetTimeString());
}

void AsnOstream::DoVisit(const AsnUTCTime& value, Stream& os, unsigned int level) {
    head(value, "UTCTime : ", os, level);
    text(os, value.GetTimeString());
}

void AsnOstream::DoVisit(const AsnNull& value, Stream& os, unsigned int level) {
    head(value, "NULL", os, level);
}

void AsnOstream::DoVisit(const AsnBMPString& value, Stream& os, unsigned int level) {
    quoted(value, "BMPString : ", value.GetDataLength() == 0, value.GetVisibleString(), os, level);
}

void AsnOstream::DoVisit(const AsnIA5String& value, Stream& os, unsigned int level) {
    quoted(value, "IA5String : ", value.GetByte().Empty(), value.GetVisibleString(), os, level);
}

void AsnOstream::DoVisit(const AsnUniversalString& value, Stream& os, unsigned int level) {
    quoted(value, "UniversalString : ", value.GetDataLength() == 0, value.GetVisibleString(), os, level);
}

void AsnOstream::DoVisit(const AsnUTF8String& value, Stream& os, unsigned int level) {
    quoted(value, "UTF8String : ", value.GetDataLength() == 0, value.GetVisibleString(), os, level);
}

void AsnOstream::DoVisit(const AsnNumericString& value, Stream& os, unsigned int level) {
    quoted(value, "NumericString : ", value.GetData().Empty(), value.GetData(), os, level);
}

void AsnOstream::DoVisit(const AsnPrintableString& value, Stream& os, unsigned int level) {
    quoted(value, "PrintableString : ", value.GetData().Empty(), value.GetData(), os, level);
}

void AsnOstream::DoVisit(const AsnVisibleString& value, Stream& os, unsigned int level) {
    quoted(value, "VisibleString : ", value.GetData().Empty(), value.GetData(), os, level);
}

void AsnOstream::DoVisit(const AsnTeletexString& value, Stream& os, unsigned int level) {
    quoted(value, "TeletexString : ", value.GetData().Empty(), value.GetVisibleString(), os, level);
}

void AsnOstream::DoVisit(const AsnSequence& value, Stream& os, unsigned int level) {
    members(value, "SEQUENCE : ", absentMember, os, level);
}

void AsnOstream::DoVisit(const AsnSet& value, Stream& os, unsigned int level) {
    members(value, "SET : ", absentMember, os, level);
}

void AsnOstream::DoVisit(const AsnChoice& value, Stream& os, unsigned int level) {
    head(value, "CHOICE : ", os, level);
    const unsigned int count = value.Get() == nullptr ? 0 : 1;
    braces(
        count, [&](unsigned int) { return value.Get(); },
        [&](const AsnObject& selected) { selected.ToOstream(os, level + 1); }, os);
}

void AsnOstream::DoVisit(const AsnContainer& value, Stream& os, unsigned int level) {
    head(value, "", os, level);
    os << std::endl;
    if (value.GetData() == nullptr)
        os << "( EMPTY )";
    else
        value.GetData()->ToOstream(os, level + kContainerLevels);
}

void AsnOstream::DoVisit(const AsnInstanceOf& value, Stream& os, unsigned int level) {
    members(value, "INSTANCE OF : ", absentMemberOfInstance, os, level);
}

void AsnOstream::DoVisitList(const AsnObject& value, const AsnList& items, const char* label, Stream& os,
                             unsigned int level) {
    head(value, label, os, level);
    braces(
        items.Size(), [&](unsigned int i) { return items[i]; },
        [&](const AsnObject& item) { item.ToOstream(os, level + 1); }, os);
}
