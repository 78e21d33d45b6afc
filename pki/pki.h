// Certificates, names, base64 and messages.
#ifndef VT_PKI_PKI_H
#define VT_PKI_PKI_H

#include "pki/base64.h"
#include "pki/certificate.h"
#include "pki/certificate_tool.h"
#include "pki/name.h"

#endif
