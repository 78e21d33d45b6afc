#include "pki/base64.h"
