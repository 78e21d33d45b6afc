#include "pki/certificate.h"
