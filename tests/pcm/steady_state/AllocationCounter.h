#ifndef QUORVEX_TESTS_ALLOCATIONCOUNTER_H
#define QUORVEX_TESTS_ALLOCATIONCOUNTER_H

// Number of heap allocations made by this process so far (malloc, calloc,
// realloc, the aligned allocators, and operator new through malloc).
long allocationCount();

// While set, every allocation fails (returns null) and is not counted.
void setAllocationsFail(bool fail);

#endif
