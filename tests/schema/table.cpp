#include "tests/schema/table.h"

#include <map>
#include <stdexcept>
#include <typeindex>

#include "schema/schema.h"
#include "tests/support/hex.h"

namespace table {

namespace {

// Samples: something other than what an empty value has.

void fillValue(AsnBoolean& value) {
    value.SetData(true);
}
void fillValue(AsnInteger& value) {
    value.SetData(300);
}
void fillValue(AsnEnumerated& value) {
    value.SetData(2);
}
void fillValue(AsnBitString& value) {
    value.SetData("\xA0", 0, 3);
}
void fillValue(AsnOctetString& value) {
    value.SetData("octets", 0, 6);
}
void fillValue(AsnOid& value) {
    value.SetData("1.2.840.113549");
}
void fillValue(AsnNumericString& value) {
    value.SetData("42");
}
void fillValue(AsnPrintableString& value) {
    value.SetData("Printable");
}
void fillValue(AsnTeletexString& value) {
    value.SetVisibleString("Teletex");
}
void fillValue(AsnIA5String& value) {
    value.SetVisibleString("a@b.example");
}
void fillValue(AsnBMPString& value) {
    value.SetVisibleString("BMP");
}
void fillValue(AsnUniversalString& value) {
    value.SetVisibleString("Universal");
}
void fillValue(AsnUTCTime& value) {
    value.SetTime("1410221200Z");
}
void fillValue(AsnGeneralizedTime& value) {
    value.SetTime("20141022120000Z");
}
void fillValue(AsnInstanceOf& value) {
    AsnOid type;
    fillValue(type);
    AsnOctetString inner;
    fillValue(inner);
    value.SetType_id(type);
    value.SetValue(inner);
}

template <class T>
Value sampleOf();

template <class T>
void fillValue(AsnSetOf<T>& value) {
    const Value item = sampleOf<T>();
    value.AddElement(static_cast<const T&>(*item));
}
template <class T>
void fillValue(AsnSequenceOf<T>& value) {
    const Value item = sampleOf<T>();
    value.AddElement(static_cast<const T&>(*item));
}
void fillValue(AsnObject& value) {
    fill(value, *find(typeid(value)));
}

template <class T>
Value emptyOf() {
    return std::make_unique<T>();
}

template <class T>
Value sampleOf() {
    auto value = std::make_unique<T>();
    fillValue(*value);
    return value;
}

template <class T>
void assignTo(AsnObject& to, const AsnObject& from) {
    static_cast<T&>(to) = static_cast<const T&>(from);
}

constexpr Mode mode_untagged = Mode::untagged;
constexpr Mode mode_implicit = Mode::implicit_;
constexpr Mode mode_explicit = Mode::explicit_;
constexpr Role role_mandatory = Role::mandatory;
constexpr Role role_optional = Role::optional;
constexpr Role role_default = Role::default_;

// clang-format off
#define TYPE(CLASS, BASE) all.push_back({#CLASS, &typeid(CLASS), Base::BASE, emptyOf<CLASS>, assignTo<CLASS>, {}});
#define MEMBER(CLASS, NAME, ACCESSOR, VALUE, MODE, NUMBER, ROLE, FLAG)                                              \
    all.back().members.push_back({#NAME, &typeid(VALUE), mode_##MODE, NUMBER, role_##ROLE, Flag::FLAG,              \
        emptyOf<VALUE>, sampleOf<VALUE>,                                                                            \
        [](AsnObject& of, const AsnObject& value) {                                                                 \
            static_cast<CLASS&>(of).Set##ACCESSOR(static_cast<const VALUE&>(value));                                \
        },                                                                                                          \
        [](const AsnObject& of) -> const AsnObject* { return static_cast<const CLASS&>(of).Get##ACCESSOR(); }});
#define WRAPPER(CLASS, NUMBER, VALUE)                                                                               \
    all.push_back({#CLASS, &typeid(CLASS), Base::Wrapper, emptyOf<CLASS>, assignTo<CLASS>, {}});                    \
    all.back().members.push_back({"", &typeid(VALUE), Mode::explicit_, NUMBER, Role::mandatory, Flag::plain,        \
        emptyOf<VALUE>, sampleOf<VALUE>,                                                                            \
        [](AsnObject& of, const AsnObject& value) {                                                                 \
            static_cast<CLASS&>(of).SetObject(static_cast<const VALUE&>(value));                                    \
        },                                                                                                          \
        [](const AsnObject& of) -> const AsnObject* { return static_cast<const CLASS&>(of).GetObject(); }});
// clang-format on

void addDirectory(std::vector<Type>& all) {
#include "tests/schema/tables/directory.def"
}

void addPkcs(std::vector<Type>& all) {
#include "tests/schema/tables/pkcs.def"
}

void addX509(std::vector<Type>& all){
#include "tests/schema/tables/x509.def"
}

#undef TYPE
#undef MEMBER
#undef WRAPPER

std::vector<Type> build() {
    std::vector<Type> all;
    addX509(all);
    addPkcs(all);
    addDirectory(all);
    return all;
}

AsnTag universal(unsigned int number, ASN_TAG_FORM form) {
    AsnTag tag;
    tag.tagNumber = number;
    tag.tagForm = form;
    return tag;
}

// X.680, table 1.
const std::map<std::type_index, unsigned int>& universalNumbers() {
    static const std::map<std::type_index, unsigned int> numbers{
        {typeid(AsnBoolean), 1},
        {typeid(AsnInteger), 2},
        {typeid(AsnBitString), 3},
        {typeid(AsnOctetString), 4},
        {typeid(AsnOid), 6},
        {typeid(AsnEnumerated), 10},
        {typeid(AsnNumericString), 18},
        {typeid(AsnPrintableString), 19},
        {typeid(AsnTeletexString), 20},
        {typeid(AsnIA5String), 22},
        {typeid(AsnUTCTime), 23},
        {typeid(AsnGeneralizedTime), 24},
        {typeid(AsnUniversalString), 28},
        {typeid(AsnBMPString), 30},
    };
    return numbers;
}

bool isSetOf(const std::type_info& type) {
#define LIST(CLASS, ITEM)      \
    if (type == typeid(CLASS)) \
        return std::string(#CLASS).rfind("AsnSetOf<", 0) == 0;
#include "tests/schema/tables/lists.def"
#undef LIST
    throw std::logic_error(std::string("not in the tables: ") + type.name());
}

}  // namespace

const std::vector<Type>& types() {
    static const std::vector<Type> all = build();
    return all;
}

const Type* find(const std::type_info& type) {
    for (const Type& candidate : types())
        if (*candidate.type == type)
            return &candidate;
    return nullptr;
}

AsnTag ownTag(const std::type_info& type) {
    const auto primitive = universalNumbers().find(type);
    if (primitive != universalNumbers().end())
        return universal(primitive->second, ASN_PRIMITIVE);
    if (type == typeid(AsnInstanceOf))
        return universal(8, ASN_CONSTRUCTED);
    const Type* known = find(type);
    if (known == nullptr)
        return universal(isSetOf(type) ? 17 : 16, ASN_CONSTRUCTED);
    switch (known->base) {
        case Base::Sequence:
            return universal(16, ASN_CONSTRUCTED);
        case Base::Set:
            return universal(17, ASN_CONSTRUCTED);
        case Base::Choice:
            return universal(0, ASN_PRIMITIVE);
        default:
            AsnTag tag = universal(known->members[0].number, ASN_CONSTRUCTED);
            tag.tagClass = ASN_APPLICATION;
            tag.tagMode = ASN_EXPLICIT;
            return tag;
    }
}

void fill(AsnObject& value, const Type& type, std::size_t alternative) {
    if (type.base != Base::Choice) {
        for (const Member& member : type.members) {
            const Value sample = member.sample();
            sample->SetAsnName(member.name);
            member.set(value, *sample);
        }
        return;
    }
    const Member* chosen = nullptr;
    for (std::size_t i = 0; i < type.members.size() && (chosen == nullptr || i <= alternative); ++i)
        if (type.members[i].mode != Mode::untagged || !type.members[i].empty()->IsAsnChoice())
            chosen = &type.members[i];
    chosen->set(value, *chosen->sample());
}

Value make(const Type& type) {
    return type.make();
}

Value makeFilled(const Type& type, std::size_t alternative) {
    Value value = type.make();
    fill(*value, type, alternative);
    return value;
}

AsnObject* memberAt(AsnObject& value, const Type& type, unsigned int index) {
    switch (type.base) {
        case Base::Sequence:
            return dynamic_cast<AsnSequence&>(value).Find(index);
        case Base::Set:
            return dynamic_cast<AsnSet&>(value).Find(index);
        case Base::Choice:
            return dynamic_cast<AsnChoice&>(value).Find(index);
        default:
            return dynamic_cast<AsnContainer&>(value).Data();
    }
}

std::string toHex(const AsnObject& value) {
    MiByteBuffer out;
    const unsigned int length = value.DerEncode(out, 0);
    return support::toHex(reinterpret_cast<const std::uint8_t*>(out.GetChars()), length);
}

}  // namespace table
