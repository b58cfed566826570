// The same test as C++.
#include "tests/include/quillory_surface_test.c"
