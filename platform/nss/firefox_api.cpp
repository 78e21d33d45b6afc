#include "platform/firefox_api.h"

#include "platform/nss/firefox.h"
#include "platform/nss/guarded.h"

namespace platform {

using nss::Guarded;

FirefoxApi& replaceableFirefoxApi() {
    static FirefoxApi table = {
        Guarded<nss::FindInstallation>::call, Guarded<nss::LoadNss>::call,      Guarded<nss::OpenProfile>::call,
        Guarded<nss::FindCertificate>::call,  Guarded<nss::CloseProfile>::call,
    };
    return table;
}

const FirefoxApi& firefoxApi() {
    return replaceableFirefoxApi();
}

}  // namespace platform
