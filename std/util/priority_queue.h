// Failures of priority queues.
#ifndef TLVSTD_UTIL_PRIORITY_QUEUE_H
#define TLVSTD_UTIL_PRIORITY_QUEUE_H

#include "std/except/except.h"

class yc_PriorityQueueDefs {
public:
    ymErrorGroup(ycException);
    ymError(EmptyQueue, Errors);
    ymError(BadHandle, Errors);
};

#endif
