// Certificates, names, base64 and messages.
#ifndef VT_PKI_PKI_H
#define VT_PKI_PKI_H

#include "pki/base64.h"
#include "pki/certificate.h"
#include "pki/certificate_tool.h"
#include "pki/data_content_info.h"
#include "pki/digested_data_content_info.h"
#include "pki/encrypted_data_content_info.h"
#include "pki/enveloped_data_content_info.h"
#include "pki/held.h"
#include "pki/name.h"
#include "pki/pfx.h"
#include "pki/pkcs10.h"
#include "pki/recipient_info.h"
#include "pki/safe_contents.h"
#include "pki/signed_and_enveloped_data_content_info.h"
#include "pki/signed_data_content_info.h"
#include "pki/signer_info.h"

#endif
