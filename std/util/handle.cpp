#include "std/util/handle.h"

ycRepBase::~ycRepBase() = default;
