// Kept for the files that include it: the sets are declared in media.h.
#pragma once

#include "support/media.h"
