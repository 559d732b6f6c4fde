// What the module exports comes from the engine's libraries; this file only makes it a program to
// link.
#include "kora/kora_c.h"
