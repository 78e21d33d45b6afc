// FailingTables: platform tables whose every entry fails the test. What an operation asks of the platform then shows at
// once, and that it asks for nothing else:
//
//     FailingTables tables;
//     Replaced<&SystemApi::CoCreateGuid> guid(...);   // on top of it, what the operation needs
#ifndef VT_TESTS_SUPPORT_FAILING_TABLES_H
#define VT_TESTS_SUPPORT_FAILING_TABLES_H

#include "platform/platform.h"

namespace support {

class FailingTables {
  public:
    FailingTables();
    // Puts back what stood in the tables before.
    ~FailingTables();
    FailingTables(const FailingTables&) = delete;
    FailingTables& operator=(const FailingTables&) = delete;

  private:
    platform::CryptoApi cryptoBefore_;
    platform::SystemApi systemBefore_;
};

}  // namespace support

#endif
