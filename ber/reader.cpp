#include "ber/reader.h"
