# Makes the classes of the schema from its tables (README.md tells how to read them).
#
#     cmake -D FAMILIES=x509,pkcs,... -D OUT=<folder> -P generate.cmake
#
# reads <family>.asn1 beside this script, in that order, and writes into OUT
#
#     forward.h              every class, declared
#     <family>.h and .cpp    the classes
#     lists.h and .cpp       every instance of AsnSetOf and AsnSequenceOf
#     types.cpp              the classes by name, for registry.h
#
# A file that would stay the same is left alone. Bad tables end it with file and line.
#
# What was read, by type N (in order, from 0) and member M:
#
#     N_name N_kind N_family N_text N_doc N_hand     kind is SEQUENCE, SET, CHOICE or WRAPPER
#     N_count                                        members
#     N_M_name N_M_text N_M_type N_M_mode N_M_number N_M_role N_M_shape
#
# A shape tells how the accessors reach the member: PLAIN, EXPLICIT, ANY or COMPLETE.
cmake_minimum_required(VERSION 3.25)

set(BUILTIN_BOOLEAN AsnBoolean)
set(BUILTIN_INTEGER AsnInteger)
set(BUILTIN_BIT_STRING AsnBitString)
set(BUILTIN_OCTET_STRING AsnOctetString)
set(BUILTIN_ANY AsnOctetString)
set(BUILTIN_NULL AsnNull)
set(BUILTIN_OBJECT_IDENTIFIER AsnOid)
set(BUILTIN_ENUMERATED AsnEnumerated)
set(BUILTIN_INSTANCE_OF AsnInstanceOf)
foreach(same UTF8String NumericString PrintableString TeletexString IA5String UTCTime GeneralizedTime VisibleString
             UniversalString BMPString)
  set(BUILTIN_${same} Asn${same})
endforeach()

set(word "[A-Za-z][A-Za-z0-9_]*")
set(types 0)    # how many
set(lists "")    # C++ names of the list types
set(bases "")    # "file:line name" of every type that a member names
set(here "")     # file:line, for messages
set(current "")  # the type whose members are being read

function(fail what)
  message(FATAL_ERROR "${here}: ${what}")
endfunction()

# cpp_type(<out> <notation>): the C++ type; notes list types in `lists` and named types in `bases`.
macro(cpp_type out notation)
  set(rest "${notation}")
  set(front "")
  set(back "")
  while(rest MATCHES "^(SEQUENCE|SET) OF (.*)$")
    set(rest "${CMAKE_MATCH_2}")
    if(CMAKE_MATCH_1 STREQUAL "SET")
      list(APPEND front "AsnSetOf<")
    else()
      list(APPEND front "AsnSequenceOf<")
    endif()
  endwhile()
  string(REPLACE " " "_" key "${rest}")
  if(DEFINED BUILTIN_${key})
    set(cpp "${BUILTIN_${key}}")
  elseif(rest MATCHES "^${word}$")
    set(cpp "${rest}")
    list(APPEND bases "${here} ${rest}")
  else()
    fail("no type: ${notation}")
  endif()
  list(REVERSE front)
  foreach(list_of IN LISTS front)
    set(cpp "${list_of}${cpp}>")
    list(APPEND lists "${cpp}")
  endforeach()
  set(${out} "${cpp}")
endmacro()

# begin_type(<name> <kind>): opens the next type with the comments that stand before it.
macro(begin_type name kind)
  if(DEFINED type_${name})
    fail("${name} is there already")
  endif()
  set(current ${types})
  math(EXPR types "${types} + 1")
  set(type_${name} ${current})
  set(${current}_name ${name})
  set(${current}_kind ${kind})
  set(${current}_family ${family})
  set(${current}_doc "${comments}")
  set(${current}_text "${line}\n")
  set(${current}_hand "")
  set(${current}_count 0)
  set(comments "")
  set(comma "")
endmacro()

# read_member(<name> <notation>): a member of the open type.
macro(read_member name notation)
  if(DEFINED ${current}_has_${name})
    fail("${name} is there already")
  endif()
  set(m ${current}_${${current}_count})
  math(EXPR ${current}_count "${${current}_count} + 1")
  set(${current}_has_${name} 1)
  set(${m}_name ${name})
  set(${m}_text "${notation}")
  set(${m}_mode "")
  set(${m}_number 0)
  set(${m}_role MANDATORY)
  set(${m}_shape PLAIN)
  set(type "${notation}")
  if(type MATCHES "^\\[([0-9]+)\\] (IMPLICIT|EXPLICIT) (.+)$")
    set(${m}_number ${CMAKE_MATCH_1})
    set(${m}_mode ${CMAKE_MATCH_2})
    set(type "${CMAKE_MATCH_3}")
    if(${m}_mode STREQUAL "EXPLICIT")
      set(${m}_shape EXPLICIT)
    endif()
  endif()
  if(type MATCHES "^(.+) (OPTIONAL|DEFAULT)$")
    set(type "${CMAKE_MATCH_1}")
    set(${m}_role ${CMAKE_MATCH_2})
  endif()
  if(type STREQUAL "ANY (COMPLETE)")
    set(type ANY)
    set(${m}_shape COMPLETE)
  elseif(type STREQUAL "ANY" AND NOT ${m}_mode AND NOT ${m}_role STREQUAL "MANDATORY")
    # Nothing else would let the decoder find it, nor a setter give it its tag.
    set(${m}_shape ANY)
  endif()
  check_shape()
  cpp_type(${m}_type "${type}")
endmacro()

# check_shape(): whether there are accessors for member m of the open type.
macro(check_shape)
  if(${current}_kind STREQUAL "CHOICE" AND NOT ${m}_role STREQUAL "MANDATORY")
    fail("an alternative is neither OPTIONAL nor DEFAULT")
  elseif(${current}_kind STREQUAL "SET" AND NOT ${m}_shape STREQUAL "PLAIN")
    fail("a member of a SET is neither EXPLICIT nor an optional ANY")
  elseif(${m}_shape STREQUAL "COMPLETE" AND (${m}_mode OR NOT ${current}_kind STREQUAL "SEQUENCE"))
    fail("ANY (COMPLETE) is for members of a SEQUENCE without a tag")
  endif()
endmacro()

macro(read_line)
  if(hand AND line MATCHES "^    ([^ ].*)$")
    string(APPEND ${current}_hand "${CMAKE_MATCH_1}\n")
  elseif(NOT current STREQUAL "")
    if(line MATCHES "^}( AND)?$")
      if(comma OR ${current}_count EQUAL 0)
        fail("a member is missing")
      endif()
      string(APPEND ${current}_text "}")
      set(hand "${CMAKE_MATCH_1}")
      if(NOT hand)
        set(current "")
      endif()
    elseif(line MATCHES "^    (${word}) +([^ ].*[^,])(,?)$")
      if(${current}_count GREATER 0 AND NOT comma)
        fail("a comma is missing before this line")
      endif()
      set(comma "${CMAKE_MATCH_3}")
      string(APPEND ${current}_text "${line}\n")
      read_member(${CMAKE_MATCH_1} "${CMAKE_MATCH_2}")
    elseif(hand AND line STREQUAL "")
      set(hand "")
      set(current "")
    else()
      fail("no member: ${line}")
    endif()
  elseif(line MATCHES "^-- ?(.*)$")
    string(APPEND comments "${CMAKE_MATCH_1}\n")
  elseif(line STREQUAL "")
    set(comments "")
  elseif(line MATCHES "^(${word}) ::= (SEQUENCE|SET|CHOICE) {$")
    begin_type(${CMAKE_MATCH_1} ${CMAKE_MATCH_2})
  elseif(line MATCHES "^(${word}) ::= \\[APPLICATION ([0-9]+)\\] EXPLICIT (.+)$")
    set(inner "${CMAKE_MATCH_3}")
    set(number ${CMAKE_MATCH_2})
    begin_type(${CMAKE_MATCH_1} WRAPPER)
    string(STRIP "${line}" ${current}_text)
    set(${current}_number ${number})
    cpp_type(${current}_inner "${inner}")
    set(current "")
  elseif(line MATCHES "^ALSO (.+)$")
    cpp_type(unused "${CMAKE_MATCH_1}")
  elseif(line MATCHES "^IMPORTS (.+)$")
    set(${family}_imports "${CMAKE_MATCH_1}")
  else()
    fail("neither type nor comment: ${line}")
  endif()
endmacro()

# read_family(): lines are cut off the text one by one, since a list of CMake's would trip over brackets.
macro(read_family)
  file(READ "${CMAKE_CURRENT_LIST_DIR}/${family}.asn1" text)
  set(number 0)
  set(comments "")
  set(hand "")
  while(NOT text STREQUAL "")
    math(EXPR number "${number} + 1")
    set(here "${family}.asn1:${number}")
    string(FIND "${text}" "\n" end)
    if(end EQUAL -1)
      fail("no line feed at the end")
    endif()
    string(SUBSTRING "${text}" 0 ${end} line)
    math(EXPR end "${end} + 1")
    string(SUBSTRING "${text}" ${end} -1 text)
    read_line()
  endwhile()
  if(NOT current STREQUAL "" AND NOT hand)
    fail("${${current}_name} has no end")
  endif()
  set(current "")
endmacro()

# write(<name> <variable>): a file of OUT, left alone if it has that text already.
function(write name variable)
  set(path "${OUT}/${name}")
  if(EXISTS "${path}")
    file(READ "${path}" old)
    if(old STREQUAL "${${variable}}")
      return()
    endif()
  endif()
  file(WRITE "${path}" "${${variable}}")
endfunction()

# header_text(<out> <name> <what it is> <includes> <body>): a header with its guard.
function(header_text out name what includes body)
  string(TOUPPER "VT_SCHEMA_${name}_H" guard)
  set(${out} "// ${what} Made by schema/generate.cmake.
#ifndef ${guard}\n#define ${guard}\n\n${includes}\n${body}\n#endif\n" PARENT_SCOPE)
endfunction()

# signature(<out> <indent> <result> <head> <argument> <tail>): "result head(argument)tail", broken where it is too long
# for a line, as clang-format would.
function(signature out indent result head argument tail)
  set(text "${indent}${result}${head}(${argument})${tail}")
  string(LENGTH "${text}" length)
  if(length GREATER 120 AND argument STREQUAL "")
    string(STRIP "${result}" result)
    set(text "${indent}${result}\n${indent}${head}()${tail}")
  elseif(length GREATER 120)
    set(text "${indent}${result}${head}(\n${indent}    ${argument})${tail}")
  endif()
  set(${out} "${text}\n" PARENT_SCOPE)
endfunction()

function(accessor_name out member)
  string(SUBSTRING "${member}" 0 1 first)
  string(SUBSTRING "${member}" 1 -1 rest)
  string(TOUPPER "${first}" first)
  set(${out} "${first}${rest}" PARENT_SCOPE)
endfunction()

# comment(<out> <indent> <text>): the text as a comment, which may be empty.
function(comment out indent text)
  string(REGEX REPLACE "([^\n]+)\n" "${indent}// \\1\n" text "${text}")
  string(REGEX REPLACE "\n\n" "\n${indent}//\n" text "${text}")
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

# declare(<n>): type n as a class, appended to `header`.
function(declare n)
  set(name ${${n}_name})
  set(base_SEQUENCE AsnSequence)
  set(base_SET AsnSet)
  set(base_CHOICE AsnChoice)
  set(base_WRAPPER AsnContainer)
  comment(text "" "${${n}_doc}")
  signature(copy "    " "" "${name}" "const ${name}& other" ";")
  signature(assign "    " "${name}& " "operator=" "const ${name}& other" ";")
  string(APPEND text "class VT_API ${name} : public ${base_${${n}_kind}} {\n  public:\n    ${name}();\n"
    "${copy}${assign}    ~${name}() override;\n    AsnObject* Clone() const override;\n")
  if(${n}_kind STREQUAL "WRAPPER")
    declare_wrapped(text ${n})
    string(APPEND text "\n  protected:\n    void Init();  // sets the tag up and puts an empty value into it\n};\n")
  else()
    set(m 0)
    while(m LESS ${n}_count)
      declare_accessors(text ${n}_${m})
      math(EXPR m "${m} + 1")
    endwhile()
    if(${n}_hand)
      string(REPLACE "-- " "// " hand "${${n}_hand}")
      string(REGEX REPLACE "\n$" ";\n" hand "${hand}")
      string(REGEX REPLACE "([^\n]+)\n" "    \\1\n" hand "${hand}")
      string(APPEND text "\n${hand}")
    endif()
    string(APPEND text "\n  protected:\n    void SetupElements() override;\n};\n")
  endif()
  set(header "${header}\n${text}" PARENT_SCOPE)
endfunction()

function(declare_accessors into m)
  accessor_name(name ${${m}_name})
  signature(set "    " "void " "Set${name}" "const ${${m}_type}& value" ";")
  signature(get "    " "const ${${m}_type}* " "Get${name}" "" " const;")
  set(${into} "${${into}}\n    // \"${${m}_name}\": ${${m}_text}\n${set}${get}" PARENT_SCOPE)
endfunction()

function(declare_wrapped into n)
  set(${into} "${${into}}
    // The wrapped value: ${${n}_inner} in [APPLICATION ${${n}_number}] EXPLICIT. SetObject stores a clone.
    void SetObject(const ${${n}_inner}& value);
    const ${${n}_inner}* GetObject() const;
#if defined(_WIN32)
    // What callers say whose GetObject is the macro of the system's headers.
    const ${${n}_inner}* GetObjectA() const {
        return GetObject();
    }
    const ${${n}_inner}* GetObjectW() const {
        return GetObject();
    }
#endif
" PARENT_SCOPE)
endfunction()

# define(<n>): the operations of type n, appended to `source`.
function(define n)
  set(name ${${n}_name})
  if(${n}_kind STREQUAL "WRAPPER")
    set(text "${name}::${name}() {\n    Init();\n}\n")
  else()
    set(text "${name}::${name}() {\n    ${name}::SetupElements();\n}\n")
  endif()
  signature(copy "" "" "${name}::${name}" "const ${name}& other" " = default;")
  signature(assign "" "${name}& " "${name}::operator=" "const ${name}& other" " = default;")
  string(APPEND text "${copy}${assign}${name}::~${name}() = default;\nAsnObject* ${name}::Clone() const {\n    return new ${name}(*this);\n}\n")
  if(${n}_kind STREQUAL "WRAPPER")
    define_wrapped(text ${n})
  else()
    define_setup(text ${n})
    set(m 0)
    while(m LESS ${n}_count)
      define_accessors(text ${n} ${n}_${m})
      math(EXPR m "${m} + 1")
    endwhile()
  endif()
  set(source "${source}\n// ${name}\n\n${text}" PARENT_SCOPE)
endfunction()

function(define_wrapped into n)
  set(name ${${n}_name})
  set(${into} "${${into}}
void ${name}::Init() {
    SetAsnTag(ASN_APPLICATION, ASN_EXPLICIT, ASN_CONSTRUCTED, ${${n}_number});
    SetDataSpace(new ${${n}_inner});
}

void ${name}::SetObject(const ${${n}_inner}& value) {
    SetData(&value);
}
const ${${n}_inner}* ${name}::GetObject() const {
    return static_cast<const ${${n}_inner}*>(GetData());
}
" PARENT_SCOPE)
endfunction()

function(define_setup into n)
  set(rows "")
  set(m 0)
  while(m LESS ${n}_count)
    member_row(row ${n}_${m})
    string(APPEND rows "${row}")
    math(EXPR m "${m} + 1")
  endwhile()
  set(${into} "${${into}}
void ${${n}_name}::SetupElements() {
    static constexpr AsnMember kMembers[] = {
${rows}    };
    SetupMembers(kMembers, ${${n}_count});
}
" PARENT_SCOPE)
endfunction()

# member_row(<out> <m>): member m as a line of the table that AsnMember describes.
function(member_row out m)
  set(row "ASN_${${m}_role}")
  if(${m}_mode)
    set(row "${row}, false, ASN_${${m}_mode}, ${${m}_number}")
  elseif(${m}_shape STREQUAL "ANY")
    set(row "${row}, true")
  endif()
  set(start "        {\"${${m}_name}\", ")
  set(text "${start}AsnMake<${${m}_type}>, ${row}},\n")
  string(LENGTH "${text}" length)
  if(length GREATER 121)
    set(text "        {\"${${m}_name}\",\n         AsnMake<${${m}_type}>, ${row}},\n")
  endif()
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

function(define_accessors into n m)
  accessor_name(name ${${m}_name})
  set(literal "\"${${m}_name}\"")
  set(type ${${m}_type})
  set(shape ${${m}_shape})
  if(shape STREQUAL "PLAIN")
    set(put "Set(${literal}, &value)")
  elseif(shape STREQUAL "EXPLICIT")
    set(put "SchemaAccess::SetInner(*this, ${literal}, value)")
  elseif(shape STREQUAL "ANY")
    set(put "SchemaAccess::SetAny(*this, ${literal}, value)")
  elseif(shape STREQUAL "COMPLETE")
    set(put "AddCompleteData(${literal}, &value)")
  endif()
  set(cast static_cast)
  if(shape STREQUAL "EXPLICIT")
    set(got "SchemaAccess::Inner(*this, ${literal})")
  elseif(${n}_kind STREQUAL "CHOICE")
    # What is selected may be of another type, and callers that have not looked get it all the same.
    set(cast reinterpret_cast)
    set(got "Get(${literal})")
  else()
    set(got "SchemaAccess::Present(*this, ${literal})")
  endif()
  signature(set "" "void " "${${n}_name}::Set${name}" "const ${type}& value" " {")
  signature(get "" "const ${type}* " "${${n}_name}::Get${name}" "" " const {")
  set(got "    return ${cast}<const ${type}*>(${got});\n")
  string(LENGTH "${got}" length)
  if(length GREATER 121)
    string(REPLACE "*>(" "*>(\n        " got "${got}")
  endif()
  set(${into} "${${into}}\n${set}    ${put};\n}\n${get}${got}}\n" PARENT_SCOPE)
endfunction()

# write_family(): header and source of one family.
function(write_family)
  set(includes "#include \"asn/asn.h\"\n#include \"schema/forward.h\"\n#include \"schema/lists.h\"\n")
  foreach(import IN LISTS ${family}_imports)
    string(APPEND includes "#include \"schema/${import}.h\"\n")
  endforeach()
  set(header "")
  set(source "// Classes of schema/${family}.asn1. Made by schema/generate.cmake.\n#include \"schema/${family}.h\"\n
#include \"asn/member.h\"\n#include \"schema/accessors.h\"\n")
  set(wraps "")
  set(n 0)
  while(n LESS types)
    if(${n}_family STREQUAL family)
      declare(${n})
      define(${n})
      if(${n}_kind STREQUAL "WRAPPER")
        set(wraps 1)
      endif()
    endif()
    math(EXPR n "${n} + 1")
  endwhile()
  if(wraps)
    # The exported name must not depend on what was included before.
    set(aside "#pragma push_macro(\"GetObject\")\n#undef GetObject\n")
    set(header "\n${aside}${header}\n#pragma pop_macro(\"GetObject\")\n")
  endif()
  string(SUBSTRING "${header}" 1 -1 header)
  header_text(text ${family} "Classes of schema/${family}.asn1; schema/schema.h tells how they all work."
    "${includes}" "${header}")
  write(${family}.h text)
  write(${family}.cpp source)
endfunction()

function(write_lists)
  list(REMOVE_DUPLICATES lists)
  list(SORT lists)
  set(declared "")
  set(defined "// Made by schema/generate.cmake.\n#include \"schema/lists.h\"\n\n")
  foreach(family IN LISTS families)
    string(APPEND defined "#include \"schema/${family}.h\"\n")
  endforeach()
  string(APPEND defined "\n")
  foreach(instance IN LISTS lists)
    string(APPEND declared "extern template class VT_API ${instance};\n")
    string(APPEND defined "template class ${instance};\n")
  endforeach()
  header_text(text lists "The lists that the classes of this room have and use, instantiated once."
    "#include \"asn/asn.h\"\n#include \"schema/forward.h\"\n" "${declared}")
  write(lists.h text)
  write(lists.cpp defined)
endfunction()

# write_names(): what needs all names in order.
function(write_names)
  set(names "")
  set(n 0)
  while(n LESS types)
    list(APPEND names ${${n}_name})
    math(EXPR n "${n} + 1")
  endwhile()
  list(SORT names)
  set(declared "")
  set(rows "")
  foreach(name IN LISTS names)
    string(APPEND declared "class VT_API ${name};\n")
    string(APPEND rows "    {\"${name}\", AsnMake<${name}>},\n")
  endforeach()
  header_text(text forward "Every class of this room, declared." "#include \"foundation/export.h\"\n" "${declared}")
  write(forward.h text)
  set(text "// The classes of this room, ordered by name. Made by schema/generate.cmake.\n#include \"schema/registry.h\"\n
#include \"asn/member.h\"\n")
  foreach(family IN LISTS families)
    string(APPEND text "#include \"schema/${family}.h\"\n")
  endforeach()
  string(APPEND text "\nstatic constexpr AsnSchemaType kTypes[] = {\n${rows}};\n
const AsnSchemaType* AsnSchemaTypes(unsigned int& count) {\n    count = ${types};\n    return kTypes;\n}\n")
  write(types.cpp text)
endfunction()

string(REPLACE "," ";" families "${FAMILIES}")
foreach(family IN LISTS families)
  read_family()
endforeach()
foreach(base IN LISTS bases)
  string(REGEX MATCH "^(.*) (.*)$" unused "${base}")
  if(NOT DEFINED type_${CMAKE_MATCH_2})
    set(here "${CMAKE_MATCH_1}")
    fail("unknown type: ${CMAKE_MATCH_2}")
  endif()
endforeach()
list(SORT families)
foreach(family IN LISTS families)
  write_family()
endforeach()
write_lists()
write_names()
