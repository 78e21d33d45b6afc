#include "pki/name.h"
