// Certificates, names, base64 and messages.
#ifndef VT_PKI_PKI_H
#define VT_PKI_PKI_H

#include "pki/data_content_info.h"
#include "pki/signed_data_content_info.h"
#include "pki/signer_info.h"

#endif
