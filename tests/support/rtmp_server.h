// Kept for the files that include it: declared in background_process.h.
#pragma once

#include "support/background_process.h"
