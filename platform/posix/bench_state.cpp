// The state of the test bench: the calls look at it, whether or not there is a test to set it.

#include "internal.h"

TestBench testBench;
