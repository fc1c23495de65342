#ifndef QUORVEX_TESTS_ALLOCATIONCOUNTER_H
#define QUORVEX_TESTS_ALLOCATIONCOUNTER_H

// Heap allocations made by this process so far; while failing is set, every
// allocation returns null and is not counted.
long allocationCount();
void setAllocationsFail(bool fail);

#endif
