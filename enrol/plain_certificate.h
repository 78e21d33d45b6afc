// An answer that is a bare certificate: the test for its shape, the proof that it belongs to the waiting key, and the
// binding of the two.
#ifndef VT_ENROL_PLAIN_CERTIFICATE_H
#define VT_ENROL_PLAIN_CERTIFICATE_H

#include <cstddef>
#include <cstdint>
#include <functional>

#include "enrol/cert_handles.h"
#include "enrol/install_steps.h"

namespace enrol {

// requirePlainCertificate asks whether the text has the outer shape of a certificate: a sequence of two elements and a
// bit string, of which the first begins with a header, a header and an integer of at most 4 bytes. The integer is the
// version of certificates that tell it; others pass or fail by the accident of their serial number.
// Throws InstallFailure: 8223 for bad base64, 8203 for exhausted memory, 8224 for another shape.
void requirePlainCertificate(const char* text, std::size_t length);

// IsPlainCertificate: 0, or the reason that requirePlainCertificate gives.
std::int32_t IsPlainCertificate(const char* text, std::size_t length);

// InstallPlainCertificate binds the certificate to the key in the container that the marker file names. Providers whose
// name begins with "Microsoft" get it through the store "MY"; others store it on the key themselves. 0 or a code. The
// marker is gone afterwards, so that another attempt needs a new request; the key stays in its container.
std::int32_t InstallPlainCertificate(const char* provider, const char* text, std::size_t length, std::int32_t keySpec);

// What is done with a certificate whose provider keeps certificates in the store: 0 or a reason.
using BindInStore = std::function<std::int32_t(const std::vector<std::uint8_t>& der)>;

// InstallOnKey proves that the certificate belongs to the key in the container, and hands it to bind if the provider's
// name begins with "Microsoft"; other providers store it on the key themselves. 0 or a code.
std::int32_t InstallOnKey(const char* provider, const std::vector<std::uint8_t>& der, const char* container,
                          const BindInStore& bind);

// storeWithKey opens the user's store "MY" with the container's context, which goes over to the store, adds the
// certificate in place of one like it, and notes there where its key is. Whether the store keeps the note does not
// count, since the certificate is installed either way. The store stays open for the caller, whose key handles have to
// go before it.
// 0; 8101 when the store cannot be opened, 8110 when it refuses the certificate. Throws std::runtime_error when a name
// cannot be converted.
std::int32_t storeWithKey(ProviderHandle& prov, StoreHandle& store, const std::uint8_t* der, std::size_t length,
                          const char* container, const char* provider, std::int32_t keySpec);

// BindCertificateToContainer adds the certificate to the user's store "MY" and notes there where its key is.
// 0; 8215 for an empty certificate or container; 8103 when the container cannot be opened, 8101 the store; 8110 when
// the store refuses the certificate. Throws std::runtime_error when a name cannot be converted.
std::int32_t BindCertificateToContainer(const std::uint8_t* der, std::size_t length, const char* container,
                                        const char* provider, std::int32_t keySpec);

}  // namespace enrol

#endif
