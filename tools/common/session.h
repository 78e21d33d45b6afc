// Owners of what the flat functions hand out.
#ifndef VT_TOOLS_COMMON_SESSION_H
#define VT_TOOLS_COMMON_SESSION_H

#include <stdexcept>
#include <string>

#include "pki/flat/flat.h"

namespace tools {

// A flat function gave a code other than 0.
class Failure : public std::runtime_error {
  public:
    explicit Failure(std::int32_t code);
};

// Throws Failure for a code other than 0.
void require(std::int32_t code);

// Bytes of ours, lent to a function for a call.
PKCS_Blob lend(const std::string& bytes);

// Bytes that a function gave.
class Output {
  public:
    Output() = default;
    ~Output() { T_free(blob.data); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    operator PKCS_Blob*() { return &blob; }
    std::string bytes() const;

  private:
    PKCS_Blob blob{};
};

class List {
  public:
    List() { require(VT_CreateList(&list)); }
    ~List() { VT_DestroyList(&list); }
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    operator VT_List*() const { return list; }
    void add(const std::string& der);
    std::uint32_t count() const;
    std::string at(std::uint32_t index) const;

  private:
    VT_List* list = nullptr;
};

// A context whose operations run in software.
class Context {
  public:
    Context() { require(PKCS_CreateCtx(&ctx, nullptr)); }
    ~Context() { PKCS_DestroyCtx(&ctx); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    operator PKCS_Ctx*() const { return ctx; }

  private:
    PKCS_Ctx* ctx = nullptr;
};

}  // namespace tools

#endif
