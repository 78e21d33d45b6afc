// The numbers of wolfSSL, apart from the other libraries' since its header does not go with theirs.
#ifndef VT_BENCH_MPI_WOLFSSL_H
#define VT_BENCH_MPI_WOLFSSL_H

#include <memory>

#include "bench/pattern.h"

namespace bench {

class WolfSslNumbers {
  public:
    WolfSslNumbers(const Bytes& a, const Bytes& b, const Bytes& n, const Bytes& product);
    WolfSslNumbers(const WolfSslNumbers&) = delete;
    WolfSslNumbers& operator=(const WolfSslNumbers&) = delete;
    ~WolfSslNumbers();
    void multiply();
    void square();
    void reduce();
    void power();
    [[nodiscard]] Bytes result() const;

  private:
    struct Values;
    std::unique_ptr<Values> values_;
};

}  // namespace bench

#endif
