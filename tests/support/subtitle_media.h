// Kept for the files that include it: subtitle media are declared in media.h.
#pragma once

#include "support/media.h"
