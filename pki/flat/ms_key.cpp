#include "pki/flat/ms_key.h"
