// The header below is included first and alone: it must bring everything that it needs.
#include "tools/surface_generator/command_line.h"

static_assert(sizeof(CommandLine) > sizeof(CommandLineException));
