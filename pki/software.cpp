#include "pki/software.h"

#include "token/op.h"

namespace pki {

namespace {

// VT_P11_OP leaves its chooser to its user.
class SoftwareOp {
  public:
    SoftwareOp() = default;
    ~SoftwareOp() { op_.destroyChooser(); }
    SoftwareOp(const SoftwareOp&) = delete;
    SoftwareOp& operator=(const SoftwareOp&) = delete;

    int create() {
        VT_P11_SELECTION none = {};
        return op_.createChooser(&none);
    }
    VT_P11_OP& operator*() { return op_; }

  private:
    VT_P11_OP op_;
};

}  // namespace

int openInSoftware(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& sealed, MiByte& opened) {
    SoftwareOp software;
    const int result = software.create();
    return result != 0 ? result : (*software).Decrypt(alg, key, sealed, opened);
}

}  // namespace pki
