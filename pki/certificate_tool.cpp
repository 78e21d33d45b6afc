#include "pki/certificate_tool.h"
