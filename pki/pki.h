// Certificates, names, base64 and messages.
#ifndef VT_PKI_PKI_H
#define VT_PKI_PKI_H

#endif
