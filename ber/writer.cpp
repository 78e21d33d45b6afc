#include "ber/writer.h"
