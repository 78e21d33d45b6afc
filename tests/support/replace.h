// Replaced<&platform::CryptoApi::CryptGenKey> puts a function of the test's own, which may capture, in the place of one
// entry of a platform table for its lifetime, on either platform:
//
//     Replaced<&CryptoApi::CryptGenKey> genKey([](HCRYPTPROV, ALG_ID, DWORD, HCRYPTKEY*) { return FALSE; });
//
// genKey.original(...) calls what stood there before.
#ifndef VT_TESTS_SUPPORT_REPLACE_H
#define VT_TESTS_SUPPORT_REPLACE_H

#include <functional>
#include <utility>

#include "platform/platform.h"

namespace support {

// The table of that kind.
inline platform::CryptoApi& tableOf(platform::CryptoApi* /*kind*/) {
    return platform::replaceableCryptoApi();
}
inline platform::SystemApi& tableOf(platform::SystemApi* /*kind*/) {
    return platform::replaceableSystemApi();
}
inline platform::FirefoxApi& tableOf(platform::FirefoxApi* /*kind*/) {
    return platform::replaceableFirefoxApi();
}

template <auto Entry>
class Replaced;

template <class Table, class Result, class... Args, Result (WINAPI* Table::*Entry)(Args...)>
class Replaced<Entry> {
  public:
    using Body = std::function<Result(Args...)>;

    explicit Replaced(Body newBody) : before_(entry()), bodyBefore_(std::move(body())) {
        body() = std::move(newBody);
        entry() = call;
    }
    ~Replaced() {
        entry() = before_;
        body() = std::move(bodyBefore_);
    }
    Replaced(const Replaced&) = delete;
    Replaced& operator=(const Replaced&) = delete;

    Result original(Args... args) const { return bodyBefore_ ? bodyBefore_(args...) : before_(args...); }

  private:
    using Function = Result(WINAPI*)(Args...);

    static Function& entry() { return tableOf(static_cast<Table*>(nullptr)).*Entry; }
    static Body& body() {
        static Body current;
        return current;
    }
    static Result WINAPI call(Args... args) { return body()(args...); }

    Function before_;
    Body bodyBefore_;
};

}  // namespace support

#endif
