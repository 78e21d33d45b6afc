#include "platform/firefox_api.h"

namespace platform {

FirefoxApi& replaceableFirefoxApi() {
    static FirefoxApi none = {};
    return none;
}

const FirefoxApi& firefoxApi() {
    return replaceableFirefoxApi();
}

}  // namespace platform
