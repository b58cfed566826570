// The decoder that tests call, unless an option chooses another one.
#include "tests/support/inflate_entry.h"

inflate_entry_t inflate_entry = inflate_process;
