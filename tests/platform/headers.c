/* The headers are C as well: this file has to compile. */
#include "platform/core_testing.h"

NvoServLock zeroed_lock_in_c;
