// Failures of shapes.
#ifndef TLVSTD_SHAPES_SHAPES_H
#define TLVSTD_SHAPES_SHAPES_H

#include "std/except/except.h"

class ycShapesError {
public:
    ymErrorGroup(ycException);
    ymError(DegenerateShape, Errors);
    ymError(LinesParallel, Errors);
    ymError(BadRadius, Errors);
    ymError(NotConcentric, Errors);
    ymError(BadCoef, Errors);
    ymError(BadGeom, Errors);
    ymError(BadUnit, Errors);
    ymError(BadIndex, Errors);
    ymError(BadParams, Errors);
    ymError(InfiniteExtent, Errors);
    ymError(NotOpenContour, Errors);
    ymError(NotRegion, Errors);
    ymError(SampleOverflow, Errors);
    ymError(NoTangent, Errors);
    ymError(EmptyShape, Errors);
    ymError(NotReversible, Errors);
    ymError(NonpositiveWeight, Errors);
    ymError(CoincidentShapePoints, Errors);
    ymError(NotImplemented, Errors);
};

#endif
