"""Just enough DER for an authority: the subject of a request, and the names of a certificate as the enrolment page needs them."""

SHORT_NAMES = {
    "2.5.4.6": "C",
    "2.5.4.10": "O",
    "2.5.4.11": "OU",
    "2.5.4.3": "CN",
}


class DerError(ValueError):
    """The bytes are not the DER that they should be."""


def elements(data):
    """The elements that stand one after another in data, as pairs of tag and content."""
    found = []
    at = 0
    while at < len(data):
        if len(data) - at < 2:
            raise DerError("an element is cut short")
        tag, length = data[at], data[at + 1]
        at += 2
        if tag & 0x1F == 0x1F:
            raise DerError("a tag of more than one byte")
        if length & 0x80:
            count = length & 0x7F
            if count == 0 or count > 3 or len(data) - at < count:
                raise DerError("a length that cannot be read")
            length = int.from_bytes(data[at:at + count], "big")
            at += count
        if len(data) - at < length:
            raise DerError("an element is cut short")
        found.append((tag, data[at:at + length]))
        at += length
    return found


def only(data, tag):
    """The content of the single element of this tag that data consists of."""
    found = elements(data)
    if len(found) != 1 or found[0][0] != tag:
        raise DerError("not the element expected")
    return found[0][1]


def object_identifier(content):
    if not content or content[-1] & 0x80:
        raise DerError("an object identifier is cut short")
    numbers = []
    value = 0
    for byte in content:
        value = value << 7 | byte & 0x7F
        if not byte & 0x80:
            numbers.append(value)
            value = 0
    first = min(numbers[0] // 40, 2)
    return ".".join(str(number) for number in [first, numbers[0] - 40 * first] + numbers[1:])


def text(tag, content):
    encodings = {0x0C: "utf-8", 0x13: "ascii", 0x14: "latin-1", 0x16: "ascii", 0x1E: "utf-16-be"}
    if tag not in encodings:
        raise DerError("a name that is no text")
    try:
        return content.decode(encodings[tag])
    except UnicodeDecodeError as error:
        raise DerError("a name that is not properly encoded") from error


def name(content):
    """The attributes of a distinguished name, in order, as pairs of object identifier and text."""
    attributes = []
    for set_tag, members in elements(content):
        if set_tag != 0x31:
            raise DerError("a name is not made of sets")
        for tag, attribute in elements(members):
            parts = elements(attribute)
            if tag != 0x30 or len(parts) != 2 or parts[0][0] != 0x06:
                raise DerError("a part of a name is not an attribute")
            attributes.append((object_identifier(parts[0][1]), text(*parts[1])))
    return attributes


def request_subject(der):
    """The subject of a PKCS#10 request, as name() gives it."""
    info = elements(only(der, 0x30))
    if len(info) != 3 or info[0][0] != 0x30:
        raise DerError("not a certification request")
    fields = elements(info[0][1])
    if len(fields) < 3 or fields[0][0] != 0x02 or fields[1][0] != 0x30:
        raise DerError("not a certification request")
    return name(fields[1][1])


def certificate_fields(der):
    """Serial number (hexadecimal, an even count of digits), issuer and subject of a certificate, and the subject's parts."""
    fields = elements(elements(only(der, 0x30))[0][1])
    if fields[0][0] == 0xA0:
        fields = fields[1:]
    serial, issuer, subject = fields[0][1], name(fields[2][1]), name(fields[4][1])
    return {
        "serialHex": serial.hex(),
        "issuerDn": dn_text(issuer),
        "subjectDn": dn_text(subject),
        "subject": [[SHORT_NAMES.get(oid, oid), value] for oid, value in subject],
    }


def dn_text(attributes):
    """A name as certificate stores print it: in encoded order, ", " between, special values in quotation marks."""
    parts = []
    for oid, value in attributes:
        if value == "" or value != value.strip() or any(c in value for c in ',+="\n<>#;'):
            value = '"' + value.replace('"', '""') + '"'
        parts.append(SHORT_NAMES.get(oid, "OID." + oid) + "=" + value)
    return ", ".join(parts)
